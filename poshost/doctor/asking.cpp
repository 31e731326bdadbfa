#include "poshost/doctor/asking.h"

#include <algorithm>
#include <array>

#include <QJsonDocument>

#include <log4qt/logmanager.h>
#include <network/restclient.h>

namespace doctor {

namespace {

using http::NetworkError;
using http::Stage;

struct Words
{
    const char* id;
    const char16_t* text;
    const char16_t* advice;
};

struct ErrorRow
{
    NetworkError error;
    Words words;
};
constexpr const char16_t* lookAtProxy = u"проверьте [Network] proxy";
constexpr Words badReply = {"bad-reply", u"ответ не разобрать", u"проверьте, тот ли это сервер и порт"};
constexpr std::array errors = {
    ErrorRow{NetworkError::HostNotFound,
             {"not-resolved", u"имя сервера не найдено", u"проверьте адрес, кабель и настройку DNS"}},
    ErrorRow{NetworkError::ConnectionRefused,
             {"refused", u"соединение отклонено",
              u"проверьте порт в адресе, запущен ли сервер и межсетевой экран"}},
    ErrorRow{NetworkError::RemoteHostClosed,
             {"closed", u"соединение прервано до полного ответа",
              u"повторите позже; если не пройдёт, проверьте межсетевой экран и прокси"}},
    ErrorRow{NetworkError::ProxyConnectionRefused, {"proxy", u"прокси-сервер не отвечает", lookAtProxy}},
    ErrorRow{NetworkError::ProxyNotFound, {"proxy", u"имя прокси-сервера не найдено", lookAtProxy}},
    ErrorRow{NetworkError::ProxyAuthenticationRequired, {"proxy", u"прокси-сервер не пускает", lookAtProxy}},
    ErrorRow{NetworkError::ProtocolUnknown,
             {"bad-address", u"по такому адресу нельзя обратиться", u"исправьте адрес"}},
    ErrorRow{NetworkError::ProtocolFailure, badReply},
    ErrorRow{
        NetworkError::OperationCanceled,
        {"refused-here", u"касса сама не отправила запрос", u"проверьте, нет ли в ключе перевода строки"}},
};
constexpr Words otherError = {"network", u"нет связи", u"проверьте сеть, маршрут и межсетевой экран"};

struct StageRow
{
    Stage stage;
    Words words;
};
constexpr std::array timeouts = {
    StageRow{Stage::LookUp,
             {"not-resolved", u"имя сервера не нашлось за отведённое время", u"проверьте настройку DNS"}},
    StageRow{Stage::Connect,
             {"not-connected", u"соединение не установлено за отведённое время",
              u"проверьте адрес, маршрут и межсетевой экран"}},
    StageRow{Stage::Handshake,
             {"tls", u"защищённое соединение не установлено за отведённое время",
              u"проверьте межсетевой экран и прокси; на том ли порту сервер"}},
};
constexpr Words noAnswer = {"no-answer", u"соединение есть, ответа за отведённое время нет",
                            u"повторите позже; если не пройдёт, увеличьте предел ожидания"};

/// By OpenSSL's numbers.
struct CertificateRow
{
    int first;
    int last;
    Words words;
};
constexpr std::array certificates = {
    CertificateRow{
        9, 9, {"certificate-not-yet-valid", u"сертификат ещё не действует", u"проверьте дату и часы кассы"}},
    CertificateRow{10,
                   10,
                   {"certificate-expired", u"срок сертификата истёк",
                    u"проверьте дату и часы кассы; если они верны, дело владельца сервера"}},
    CertificateRow{18,
                   21,
                   {"certificate-untrusted", u"сертификат выдан центром, которому нет доверия",
                    u"установите корневой сертификат в систему или назовите его в [Network] caFile"}},
};
constexpr Words otherCertificate = {"certificate", u"сертификат не принят",
                                    u"проверьте часы кассы и [Network] caFile"};
constexpr Words wrongName = {"certificate-name", u"сертификат выдан другому имени",
                             u"проверьте адрес; нет ли прокси, который подменяет сертификаты"};
constexpr Words noHandshake = {"tls", u"защищённое соединение не установлено",
                               u"проверьте, не http ли это порт, и не мешает ли межсетевой экран"};

constexpr Words brokenCaFile = {"ca-file", u"файл доверенных сертификатов не читается",
                                u"назовите в [Network] caFile файл PEM или уберите строку"};
constexpr Words tooLarge = {"reply-too-large", u"ответ больше предела [Network] maxReplyBytes",
                            u"проверьте адрес; если сервер тот, увеличьте предел"};
constexpr Words webPage = {"captive-portal", u"вместо ответа пришла веб-страница: отвечает не тот сервер",
                           u"проверьте адрес и то, не требует ли сеть входа через браузер"};

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
        return brokenCaFile;
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

http::ExchangeRecord ask(const QUrl& url, const QHash<QString, QString>& headers, std::chrono::seconds limit)
{
    constexpr std::chrono::seconds maxLimit{30};
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
    return {words->id, QString::fromUtf16(words->text) + more, QString::fromUtf16(words->advice)};
}

}  // namespace doctor
