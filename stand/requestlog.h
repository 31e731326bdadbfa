#pragma once

#include "exchange.h"

#include <QJsonArray>
#include <QJsonObject>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace marksim {

/// One request as it came.
struct LoggedRequest
{
    std::uint64_t seq = 0;  ///< 1, 2, 3... over all servers; never used twice
    std::string time;       ///< ISO 8601, UTC, milliseconds
    std::string server;
    std::string method;  ///< "info", "check"...; empty for a request to no known method
    std::uint64_t connection = 0;
    std::uint16_t remotePort = 0;
    Request request;
    int status = 0;  ///< 0 when none was sent
    Outcome outcome = Outcome::Pending;

    /// With "bodyBytes" in place of headers and body when `brief`.
    [[nodiscard]] QJsonObject toJson(bool brief = false) const;
};

/// Which requests are asked for.
struct RequestFilter
{
    std::uint64_t since = 0;  ///< only from this number on
    std::string server;       ///< only of this one; empty for all
    std::uint64_t last = 0;   ///< only so many, the newest of those that fit; 0 for all
    bool brief = false;
};

/// The last requests, oldest first, bounded in number and in bytes of bodies; what is too much is forgotten.
class RequestLog
{
public:
    static constexpr std::size_t mostRequests = 10'000;
    static constexpr std::size_t mostBytes = 64UL * 1024 * 1024;

    /// Enters a request and gives it a number and the time.
    std::uint64_t add(LoggedRequest entry);
    void end(std::uint64_t seq, int status, Outcome outcome);
    void clear();

    /// {"requests": [...], "first": seq of the oldest in the log, "next": seq of the next request to come,
    /// "forgotten": how many fell out}.
    [[nodiscard]] QJsonObject toJson(const RequestFilter& filter) const;
    /// Null when there is no such request, or no longer. The pointer holds until the next change.
    [[nodiscard]] const LoggedRequest* find(std::uint64_t seq) const;

private:
    [[nodiscard]] std::optional<std::size_t> indexOf(std::uint64_t seq) const;

    std::deque<LoggedRequest> entries_;
    std::uint64_t next_ = 1;
    std::uint64_t forgotten_ = 0;
    std::size_t bytes_ = 0;
};

}  // namespace marksim
