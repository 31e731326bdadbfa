#include "poshost/doctor/asking.h"

#include <algorithm>
#include <array>

#include <QJsonDocument>

#include "poshost/language.h"
#include "poshost/terminal/signals.h"
#include <config/config.h>
#include <log4qt/logmanager.h>
#include <network/restclient.h>
#include <orvex/dialog.h>

namespace poshost {

namespace {

using http::NetworkError;
using http::Stage;

struct Words
{
    const char* id;
    Text text;
    Text advice;
};

struct ErrorRow
{
    NetworkError error;
    Words words;
};
constexpr Text lookAtProxy = {u"look at [Network] proxy", u"проверьте [Network] proxy"};
constexpr Words badReply = {
    "bad-reply",
    {u"the reply makes no sense", u"ответ не разобрать"},
    {u"see whether server and port are the right ones", u"проверьте, тот ли это сервер и порт"}};
constexpr std::array errors = {
    ErrorRow{NetworkError::HostNotFound,
             {"not-resolved",
              {u"the server's name was not found", u"имя сервера не найдено"},
              {u"look at the address, the cable and the DNS settings",
               u"проверьте адрес, кабель и настройку DNS"}}},
    ErrorRow{NetworkError::ConnectionRefused,
             {"refused",
              {u"connection refused", u"соединение отклонено"},
              {u"look at the port of the address, whether the server runs, and the firewall",
               u"проверьте порт в адресе, запущен ли сервер и межсетевой экран"}}},
    ErrorRow{NetworkError::RemoteHostClosed,
             {"closed",
              {u"the connection broke off before the whole reply", u"соединение прервано до полного ответа"},
              {u"try again later; if it stays so, look at firewall and proxy",
               u"повторите позже; если не пройдёт, проверьте межсетевой экран и прокси"}}},
    ErrorRow{NetworkError::ProxyConnectionRefused,
             {"proxy", {u"the proxy does not answer", u"прокси-сервер не отвечает"}, lookAtProxy}},
    ErrorRow{NetworkError::ProxyNotFound,
             {"proxy", {u"the proxy's name was not found", u"имя прокси-сервера не найдено"}, lookAtProxy}},
    ErrorRow{NetworkError::ProxyAuthenticationRequired,
             {"proxy", {u"the proxy lets nobody through", u"прокси-сервер не пускает"}, lookAtProxy}},
    ErrorRow{NetworkError::ProtocolUnknown,
             {"bad-address",
              {u"nobody can be asked at such an address", u"по такому адресу нельзя обратиться"},
              {u"correct the address", u"исправьте адрес"}}},
    ErrorRow{NetworkError::ProtocolFailure, badReply},
    ErrorRow{NetworkError::OperationCanceled,
             {"refused-here",
              {u"the till itself did not send the request", u"касса сама не отправила запрос"},
              {u"see whether the key holds a line end", u"проверьте, нет ли в ключе перевода строки"}}},
};
constexpr Words otherError = {
    "network",
    {u"no connection", u"нет связи"},
    {u"look at the network, the route and the firewall", u"проверьте сеть, маршрут и межсетевой экран"}};

struct StageRow
{
    Stage stage;
    Words words;
};
constexpr std::array timeouts = {
    StageRow{Stage::LookUp,
             {"not-resolved",
              {u"the server's name was not found in time", u"имя сервера не нашлось за отведённое время"},
              {u"look at the DNS settings", u"проверьте настройку DNS"}}},
    StageRow{Stage::Connect,
             {"not-connected",
              {u"no connection was made in time", u"соединение не установлено за отведённое время"},
              {u"look at the address, the route and the firewall",
               u"проверьте адрес, маршрут и межсетевой экран"}}},
    StageRow{Stage::Handshake,
             {"tls",
              {u"no secure connection was made in time",
               u"защищённое соединение не установлено за отведённое время"},
              {u"look at firewall and proxy; is the server at that port?",
               u"проверьте межсетевой экран и прокси; на том ли порту сервер"}}},
};
constexpr Words noAnswer = {
    "no-answer",
    {u"connected, but no reply in time", u"соединение есть, ответа за отведённое время нет"},
    {u"try again later; if it stays so, raise the time limit",
     u"повторите позже; если не пройдёт, увеличьте предел ожидания"}};

/// By OpenSSL's numbers.
struct CertificateRow
{
    int first;
    int last;
    Words words;
};
constexpr std::array certificates = {
    CertificateRow{9,
                   9,
                   {"certificate-not-yet-valid",
                    {u"the certificate is not valid yet", u"сертификат ещё не действует"},
                    {u"look at the till's date and clock", u"проверьте дату и часы кассы"}}},
    CertificateRow{
        10,
        10,
        {"certificate-expired",
         {u"the certificate has expired", u"срок сертификата истёк"},
         {u"look at the till's date and clock; if they are right, it is for the server's owner to mend",
          u"проверьте дату и часы кассы; если они верны, дело владельца сервера"}}},
    CertificateRow{
        18,
        21,
        {"certificate-untrusted",
         {u"the certificate's issuer is not trusted", u"сертификат выдан центром, которому нет доверия"},
         {u"install the root certificate in the system or name it in [Network] caFile",
          u"установите корневой сертификат в систему или назовите его в [Network] caFile"}}},
};
constexpr Words otherCertificate = {
    "certificate",
    {u"the certificate is not accepted", u"сертификат не принят"},
    {u"look at the till's clock and [Network] caFile", u"проверьте часы кассы и [Network] caFile"}};
constexpr Words wrongName = {"certificate-name",
                             {u"the certificate is for another name", u"сертификат выдан другому имени"},
                             {u"look at the address; is there a proxy that replaces certificates?",
                              u"проверьте адрес; нет ли прокси, который подменяет сертификаты"}};
constexpr Words noHandshake = {"tls",
                               {u"no secure connection was made", u"защищённое соединение не установлено"},
                               {u"see whether it is a port for http, and whether a firewall is in the way",
                                u"проверьте, не http ли это порт, и не мешает ли межсетевой экран"}};

constexpr Words brokenCaFile = {
    "ca-file",
    {u"the file of trusted certificates cannot be read", u"файл доверенных сертификатов не читается"},
    {u"name a PEM file in [Network] caFile or take the line out",
     u"назовите в [Network] caFile файл PEM или уберите строку"}};
constexpr Words noSystemCertificates = {
    "ca-file",
    {u"the system has no trusted certificates", u"в системе нет доверенных сертификатов"},
    {u"install the package ca-certificates", u"установите пакет ca-certificates"}};
constexpr Words tooLarge = {
    "reply-too-large",
    {u"the reply is over the limit [Network] maxReplyBytes", u"ответ больше предела [Network] maxReplyBytes"},
    {u"look at the address; if the server is the right one, raise the limit",
     u"проверьте адрес; если сервер тот, увеличьте предел"}};
constexpr Words webPage = {"captive-portal",
                           {u"a web page came in place of a reply: another server answers",
                            u"вместо ответа пришла веб-страница: отвечает не тот сервер"},
                           {u"look at the address, and whether the network wants a login by browser",
                            u"проверьте адрес и то, не требует ли сеть входа через браузер"}};

template <class Rows, class Fits>
const Words& pick(const Rows& rows, const Words& otherwise, Fits fits)
{
    const auto row = std::find_if(rows.begin(), rows.end(), fits);
    return row != rows.end() ? row->words : otherwise;
}

const Words& tlsWords(const http::Transport& transport)
{
    const int fault = transport.certificateFault;
    if (fault != 0) {
        return pick(certificates, otherCertificate,
                    [fault](const auto& row) { return row.first <= fault && fault <= row.last; });
    }
    if (transport.detail.contains(QLatin1String("setting certificate"))) {  // libcurl's words
        const QString file = Singleton<Config>::instance()->getString(QStringLiteral("Network:caFile"));
        return file.isEmpty() ? noSystemCertificates : brokenCaFile;
    }
    return transport.certificateEnd.isValid() ? wrongName : noHandshake;
}

const Words& wordsOfFailure(const http::ExchangeRecord& exchange)
{
    if (exchange.response.isTimeout()) {
        return pick(timeouts, noAnswer,
                    [&](const StageRow& row) { return row.stage == exchange.transport.stage; });
    }
    const NetworkError error = exchange.response.networkError();
    if (error == NetworkError::SslHandshakeFailed) {
        return tlsWords(exchange.transport);
    }
    if (exchange.response.errorText().id() == QLatin1String("networkReplyTooLarge")) {
        return tooLarge;
    }
    return pick(errors, otherError, [error](const ErrorRow& row) { return row.error == error; });
}

/// Which words fit; null for a reply that is what was asked for.
const Words* wordsFor(const http::ExchangeRecord& exchange)
{
    constexpr int good = 200;
    const http::Response& response = exchange.response;
    if (response.isTimeout() || response.isNetworkError()) {
        return &wordsOfFailure(exchange);
    }
    if (response.status() != good || QJsonDocument::fromJson(response.body()).isObject()) {
        return nullptr;
    }
    return response.body().trimmed().startsWith('<') ? &webPage : &badReply;
}

}  // namespace

http::ExchangeRecord ask(const QString& step, const QUrl& url, const QHash<QString, QString>& headers,
                         std::chrono::seconds limit)
{
    constexpr std::chrono::seconds maxLimit{30};
    Signals::throwIfReceived();
    const SimpleProgress shown =
        MockFactory<Dialog>::create()->showProgress(tr::Tr(QStringLiteral("doctorStep"), step), {});
    http::ExchangeRecord record;
    RestClient::setExchangeObserver([&record](const http::ExchangeRecord& seen) { record = seen; });
    const auto client = MockFactory<RestClient>::create();
    client->setLogger(Log4Qt::LogManager::logger(QStringLiteral("doctor")));
    client->setTimeout(limit.count() > 0 ? std::min(limit, maxLimit) : maxLimit);
    client->get(url, {}, headers);
    RestClient::setExchangeObserver({});
    return record;
}

std::chrono::milliseconds elapsedOf(const http::ExchangeRecord& exchange)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(exchange.duration);
}

Trouble troubleOf(const http::ExchangeRecord& exchange)
{
    const Words* words = wordsFor(exchange);
    if (words == nullptr) {
        return {};
    }
    const QString& detail = exchange.transport.detail;
    const QString more = detail.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(detail);
    return {words->id, said(words->text) + more, said(words->advice)};
}

}  // namespace poshost
