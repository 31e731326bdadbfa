#pragma once

#include <QString>

#include <network/response.h>

namespace poshost {

/// What a reply of the operator means for the check that it answers. Written from what operators promise, not
/// from the plug-in; a test holds the two against each other.
enum class ReplyClass {
    Ok,
    Failed,
    ServerError,
    CrossBorderUnavailable,
    Emergency,
    IncorrectToken,
    ProtocolError,
    Timeout,
    NetworkError,
};

[[nodiscard]] ReplyClass classOf(const http::Response& reply);

/// As programs read it: "ok", "server-error", ...
[[nodiscard]] QString className(ReplyClass replyClass);
/// As people read it, in Russian.
[[nodiscard]] QString classWords(ReplyClass replyClass);

}  // namespace poshost
