#include <network/failure.h>

#include <cerrno>

namespace {

tr::Tr message(const char16_t* id, const QString& target, const QString& what)
{
    return {QString::fromUtf16(id), QStringLiteral("Обращение к %1: %2").arg(target, what)};
}

}  // namespace

const Failure* failureOf(CURLcode code, long osError)
{
    switch (code) {
    case CURLE_OK:
        return nullptr;
    case CURLE_URL_MALFORMAT:
        return &failure::badUrl;
    case CURLE_COULDNT_RESOLVE_HOST:
        return &failure::hostNotFound;
    case CURLE_COULDNT_RESOLVE_PROXY:
        return &failure::proxyNotFound;
    case CURLE_PROXY:
        return &failure::proxyUnreachable;
    case CURLE_COULDNT_CONNECT:
        return osError == ECONNREFUSED ? &failure::refused : &failure::unreachable;
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return &failure::closed;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
        return &failure::tls;
    case CURLE_UNSUPPORTED_PROTOCOL:  // not the URL's scheme, which is looked at before
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
        return &failure::badReply;
    default:
        return &failure::other;
    }
}

tr::Tr textOf(const Failure& failure, const QString& target)
{
    return message(failure.id, target, QString::fromUtf16(failure.text));
}

tr::Tr textOfStatus(int httpStatus, const QString& target)
{
    return message(u"networkHttpStatus", target, QStringLiteral("код ответа HTTP %1").arg(httpStatus));
}
