#include <network/networkerror.h>

namespace http {

NetworkError networkErrorOfStatus(int httpStatus)
{
    switch (httpStatus) {
    case 400:
    case 418:
        return NetworkError::ProtocolInvalidOperation;
    case 401:
        return NetworkError::AuthenticationRequired;
    case 403:
        return NetworkError::ContentAccessDenied;
    case 404:
        return NetworkError::ContentNotFound;
    case 405:
        return NetworkError::ContentOperationNotPermitted;
    case 407:
        return NetworkError::ProxyAuthenticationRequired;
    case 409:
        return NetworkError::ContentConflict;
    case 410:
        return NetworkError::ContentGone;
    case 500:
        return NetworkError::InternalServerError;
    case 501:
        return NetworkError::OperationNotImplemented;
    case 503:
        return NetworkError::ServiceUnavailable;
    default:
        break;
    }
    if (httpStatus > 500) {
        return NetworkError::UnknownServerError;
    }
    return httpStatus >= 400 ? NetworkError::UnknownContentError : NetworkError::None;
}

}  // namespace http
