#include "doctor/trouble.h"

#include <algorithm>
#include <array>

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
constexpr const char16_t* LookAtProxy = u"проверьте [Network] proxy";
constexpr std::array Errors = {
    ErrorRow{NetworkError::HostNotFound,
             {"not-resolved", u"имя сервера не найдено", u"проверьте адрес, кабель и настройку DNS"}},
    ErrorRow{NetworkError::ConnectionRefused,
             {"refused", u"соединение отклонено",
              u"проверьте порт в адресе, запущен ли сервер и межсетевой экран"}},
    ErrorRow{NetworkError::RemoteHostClosed,
             {"closed", u"соединение прервано до полного ответа",
              u"повторите позже; если не пройдёт, проверьте межсетевой экран и прокси"}},
    ErrorRow{NetworkError::ProxyConnectionRefused, {"proxy", u"прокси-сервер не отвечает", LookAtProxy}},
    ErrorRow{NetworkError::ProxyNotFound, {"proxy", u"имя прокси-сервера не найдено", LookAtProxy}},
    ErrorRow{NetworkError::ProxyAuthenticationRequired, {"proxy", u"прокси-сервер не пускает", LookAtProxy}},
    ErrorRow{NetworkError::ProtocolUnknown,
             {"bad-address", u"по такому адресу нельзя обратиться", u"исправьте адрес"}},
    ErrorRow{NetworkError::ProtocolFailure,
             {"bad-reply", u"ответ не разобрать", u"проверьте, тот ли это сервер и порт"}},
};
constexpr Words OtherError = {"network", u"нет связи", u"проверьте сеть, маршрут и межсетевой экран"};

struct StageRow
{
    Stage stage;
    Words words;
};
constexpr std::array Timeouts = {
    StageRow{Stage::LookUp,
             {"not-resolved", u"имя сервера не нашлось за отведённое время", u"проверьте настройку DNS"}},
    StageRow{Stage::Connect,
             {"not-connected", u"соединение не установлено за отведённое время",
              u"проверьте адрес, маршрут и межсетевой экран"}},
    StageRow{Stage::Handshake,
             {"tls", u"защищённое соединение не установлено за отведённое время",
              u"проверьте межсетевой экран и прокси; на том ли порту сервер"}},
};
constexpr Words NoAnswer = {"no-answer", u"соединение есть, ответа за отведённое время нет",
                            u"повторите позже; если не пройдёт, увеличьте предел ожидания"};

/// By OpenSSL's numbers.
struct CertificateRow
{
    int first;
    int last;
    Words words;
};
constexpr std::array Certificates = {
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
constexpr Words OtherCertificate = {"certificate", u"сертификат не принят",
                                    u"проверьте часы кассы и [Network] caFile"};
constexpr Words WrongName = {"certificate-name", u"сертификат выдан другому имени",
                             u"проверьте адрес; нет ли прокси, который подменяет сертификаты"};
constexpr Words NoHandshake = {"tls", u"защищённое соединение не установлено",
                               u"проверьте, не http ли это порт, и не мешает ли межсетевой экран"};

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
        return pick(Certificates, OtherCertificate,
                    [fault](const auto& row) { return row.first <= fault && fault <= row.last; });
    }
    return transport.certificateEnd.isValid() ? WrongName : NoHandshake;
}

const Words& wordsFor(const http::ExchangeRecord& exchange)
{
    if (exchange.response.isTimeout()) {
        return pick(Timeouts, NoAnswer,
                    [&](const StageRow& row) { return row.stage == exchange.transport.stage; });
    }
    const NetworkError error = exchange.response.networkError();
    return error == NetworkError::SslHandshakeFailed
               ? tlsWords(exchange.transport)
               : pick(Errors, OtherError, [error](const ErrorRow& row) { return row.error == error; });
}

}  // namespace

Trouble troubleOf(const http::ExchangeRecord& exchange)
{
    if (!exchange.response.isTimeout() && !exchange.response.isNetworkError()) {
        return {};
    }
    const Words& words = wordsFor(exchange);
    const QString detail = exchange.transport.detail.isEmpty()
                               ? QString()
                               : QStringLiteral(" (%1)").arg(exchange.transport.detail);
    return {words.id, QString::fromUtf16(words.text) + detail, QString::fromUtf16(words.advice)};
}

}  // namespace doctor
