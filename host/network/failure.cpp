#include <network/failure.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace {

using http::NetworkError;

struct CodeRow
{
    CURLcode code;
    Failure failure;
};
constexpr std::array codeTable = {
    CodeRow{CURLE_OK, Failure::None},
    CodeRow{CURLE_URL_MALFORMAT, Failure::BadUrl},
    CodeRow{CURLE_COULDNT_RESOLVE_HOST, Failure::HostNotFound},
    CodeRow{CURLE_COULDNT_RESOLVE_PROXY, Failure::ProxyNotFound},
    CodeRow{CURLE_PROXY, Failure::ProxyUnreachable},
    CodeRow{CURLE_PARTIAL_FILE, Failure::Closed},
    CodeRow{CURLE_GOT_NOTHING, Failure::Closed},
    CodeRow{CURLE_SEND_ERROR, Failure::Closed},
    CodeRow{CURLE_RECV_ERROR, Failure::Closed},
    CodeRow{CURLE_SSL_CONNECT_ERROR, Failure::Tls},
    CodeRow{CURLE_PEER_FAILED_VERIFICATION, Failure::Tls},
    CodeRow{CURLE_SSL_CACERT_BADFILE, Failure::Tls},
    CodeRow{CURLE_SSL_CERTPROBLEM, Failure::Tls},
    CodeRow{CURLE_SSL_CIPHER, Failure::Tls},
    CodeRow{CURLE_SSL_ISSUER_ERROR, Failure::Tls},
    CodeRow{CURLE_SSL_INVALIDCERTSTATUS, Failure::Tls},
    // Not the URL's scheme, which has been looked at before: the reply does not begin as HTTP/1 does.
    CodeRow{CURLE_UNSUPPORTED_PROTOCOL, Failure::BadReply},
    CodeRow{CURLE_WEIRD_SERVER_REPLY, Failure::BadReply},
    CodeRow{CURLE_BAD_CONTENT_ENCODING, Failure::BadReply},
};

struct FailureRow
{
    Failure failure;
    NetworkError error;
    QStringView id;
    QStringView text;
};
constexpr std::array failureTable = {
    FailureRow{Failure::Timeout, NetworkError::Timeout, u"networkTimeout",
               u"превышено время ожидания ответа"},
    FailureRow{Failure::Canceled, NetworkError::OperationCanceled, u"networkCanceled", u"обращение отменено"},
    FailureRow{Failure::BadUrl, NetworkError::ProtocolUnknown, u"networkBadUrl", u"недопустимый адрес"},
    FailureRow{Failure::BadHeader, NetworkError::ProtocolFailure, u"networkBadHeader",
               u"недопустимый заголовок запроса"},
    FailureRow{Failure::Refused, NetworkError::ConnectionRefused, u"networkConnectionRefused",
               u"соединение отклонено"},
    FailureRow{Failure::Unreachable, NetworkError::UnknownNetworkError, u"networkUnreachable",
               u"не удалось установить соединение"},
    FailureRow{Failure::Closed, NetworkError::RemoteHostClosed, u"networkClosed",
               u"соединение прервано до получения полного ответа"},
    FailureRow{Failure::HostNotFound, NetworkError::HostNotFound, u"networkHostNotFound",
               u"сервер не найден"},
    FailureRow{Failure::Tls, NetworkError::SslHandshakeFailed, u"networkTls",
               u"не удалось установить защищенное соединение"},
    FailureRow{Failure::ProxyUnreachable, NetworkError::ProxyConnectionRefused, u"networkProxyUnreachable",
               u"не удалось соединиться с прокси-сервером"},
    FailureRow{Failure::ProxyNotFound, NetworkError::ProxyNotFound, u"networkProxyNotFound",
               u"прокси-сервер не найден"},
    FailureRow{Failure::ProxyDenied, NetworkError::ProxyAuthenticationRequired, u"networkProxyDenied",
               u"прокси-сервер требует авторизации"},
    FailureRow{Failure::BadReply, NetworkError::ProtocolFailure, u"networkBadReply", u"некорректный ответ"},
    FailureRow{Failure::TooLarge, NetworkError::ProtocolFailure, u"networkReplyTooLarge",
               u"слишком большой ответ"},
    FailureRow{Failure::Other, NetworkError::UnknownNetworkError, u"networkError", u"ошибка сети"},
};

const FailureRow& rowOf(Failure failure)
{
    const auto row = std::find_if(failureTable.begin(), failureTable.end(),
                                  [&](const FailureRow& known) { return known.failure == failure; });
    return row != failureTable.end() ? *row : failureTable.back();
}

tr::Tr message(QStringView id, const QString& target, const QString& what)
{
    return {id.toString(), QStringLiteral("Обращение к %1: %2").arg(target, what)};
}

}  // namespace

Failure failureOf(CURLcode code, long osError)
{
    if (code == CURLE_COULDNT_CONNECT) {
        return osError == ECONNREFUSED ? Failure::Refused : Failure::Unreachable;
    }
    // The deadline is told apart by whoever set it; without it this is a connection that was given up on.
    if (code == CURLE_OPERATION_TIMEDOUT) {
        return Failure::Unreachable;
    }
    const auto row = std::find_if(codeTable.begin(), codeTable.end(),
                                  [&](const CodeRow& known) { return known.code == code; });
    return row != codeTable.end() ? row->failure : Failure::Other;
}

NetworkError networkErrorOf(Failure failure)
{
    return failure == Failure::None ? NetworkError::None : rowOf(failure).error;
}

tr::Tr textOf(Failure failure, const QString& target)
{
    if (failure == Failure::None) {
        return {};
    }
    const FailureRow& row = rowOf(failure);
    return message(row.id, target, row.text.toString());
}

tr::Tr textOfStatus(int httpStatus, const QString& target)
{
    return message(u"networkHttpStatus", target, QStringLiteral("код ответа HTTP %1").arg(httpStatus));
}
