#pragma once

#include <utils/export.h>

namespace http {

/// Why an exchange failed; the numbers are those of QNetworkReply::NetworkError.
enum class NetworkError : int {
    None = 0,
    ConnectionRefused = 1,
    RemoteHostClosed = 2,
    HostNotFound = 3,
    Timeout = 4,
    OperationCanceled = 5,  ///< by this side: cancelled, a header that cannot be sent, a reply over its limit
    SslHandshakeFailed = 6,
    UnknownNetworkError = 99,
    ProxyConnectionRefused = 101,
    ProxyNotFound = 103,
    ProxyAuthenticationRequired = 105,
    ContentAccessDenied = 201,
    ContentOperationNotPermitted = 202,
    ContentNotFound = 203,
    AuthenticationRequired = 204,
    ContentConflict = 206,
    ContentGone = 207,
    UnknownContentError = 299,
    ProtocolUnknown = 301,
    ProtocolInvalidOperation = 302,
    ProtocolFailure = 399,
    InternalServerError = 401,
    OperationNotImplemented = 402,
    ServiceUnavailable = 403,
    UnknownServerError = 499,
};

/// The error that a complete reply with this HTTP status stands for; None below 400.
[[nodiscard]] ORVEX_EXPORT NetworkError networkErrorOfStatus(int httpStatus);

}  // namespace http
