#pragma once

#include <chrono>
#include <optional>

#include <QString>

namespace poshost {

/// What a connection check came to.
struct Ping
{
    std::optional<int> triggerResult;  ///< EContext::Result; nothing when nobody was there to ask
    bool isServed = false;             ///< the plug-in gave a task, and the task a result
    bool available = false;
    QString text;
    std::chrono::milliseconds elapsed{0};
};

/// Has the plug-in of the running session check its connections, on the host's task manager.
[[nodiscard]] Ping ping();

/// The ping as one JSON object on one line, with its line feed.
[[nodiscard]] QString toJson(const Ping& ping);

}  // namespace poshost
