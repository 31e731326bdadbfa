#include <network/networkerror.h>

#include <utility>

namespace http {

NetworkError networkErrorOfStatus(int httpStatus)
{
    using enum NetworkError;
    static constexpr std::pair<int, NetworkError> known[] = {
        {400, ProtocolInvalidOperation},
        {401, AuthenticationRequired},
        {403, ContentAccessDenied},
        {404, ContentNotFound},
        {405, ContentOperationNotPermitted},
        {407, ProxyAuthenticationRequired},
        {409, ContentConflict},
        {410, ContentGone},
        {418, ProtocolInvalidOperation},
        {500, InternalServerError},
        {501, OperationNotImplemented},
        {503, ServiceUnavailable},
    };
    for (const auto& [status, error] : known) {
        if (status == httpStatus) {
            return error;
        }
    }
    if (httpStatus > 500) {
        return UnknownServerError;
    }
    return httpStatus >= 400 ? UnknownContentError : None;
}

}  // namespace http
