#pragma once

#include <curl/curl.h>

#include <QString>

#include <network/networkerror.h>
#include <utils/tr.h>

/// Why an exchange came to no complete reply. Internal to the library.
enum class Failure {
    None,
    Timeout,
    Canceled,
    BadUrl,
    BadHeader,
    Refused,
    Unreachable,
    Closed,
    HostNotFound,
    Tls,
    ProxyUnreachable,
    ProxyNotFound,
    ProxyDenied,
    BadReply,
    TooLarge,
    Other,
};

/// What libcurl's code stands for; `osError` is the errno of a failed connection.
[[nodiscard]] Failure failureOf(CURLcode code, long osError);
[[nodiscard]] http::NetworkError networkErrorOf(Failure failure);

/// The message for the cashier. `target` names the other side, in the dative.
[[nodiscard]] tr::Tr textOf(Failure failure, const QString& target);
/// The same for a complete reply with a status of 400 and above.
[[nodiscard]] tr::Tr textOfStatus(int httpStatus, const QString& target);
