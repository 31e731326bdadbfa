#pragma once

#include "stand/http/service.h"

#include <QJsonObject>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace marksim {

/// One request as it came, or a connection that came to nothing before any request.
struct LoggedRequest
{
    std::uint64_t seq = 0;  ///< 1, 2, 3... over all servers; never used twice
    QString time = {};      ///< ISO 8601, UTC, milliseconds
    QString server;
    QString method;  ///< "info", "check"...; empty for a request to no known method
    ConnectionInfo connection;
    Request request;
    int status = 0;  ///< 0 when none was sent
    Outcome outcome = Outcome::Pending;
    QString reason = {};  ///< why TLS was not agreed on
    std::chrono::steady_clock::time_point begun = {};
    std::optional<std::chrono::milliseconds> duration = {};  ///< to the end of the reply; none before it

    [[nodiscard]] bool isRequest() const { return !request.method_string().empty(); }

    /// With "bodyBytes" in place of headers and body when `brief`.
    [[nodiscard]] QJsonObject toJson(bool brief = false) const;
};

/// Which requests are asked for.
struct RequestFilter
{
    std::uint64_t since = 0;  ///< only from this number on
    QString server;           ///< only of this one; empty for all
    std::uint64_t last = 0;   ///< only so many, the newest of those that fit; 0 for all
    bool brief = false;
    bool connections = false;  ///< those that came to nothing, too
};

/// The last requests, oldest first, bounded in number and in bytes of what they carried; what is too much is
/// forgotten.
class RequestLog
{
public:
    static constexpr std::size_t maxRequests = 10'000;
    static constexpr std::size_t maxBytes = 64UL * 1024 * 1024;

    /// Enters a request, or a connection that came to nothing, and gives it a number and the time.
    std::uint64_t add(LoggedRequest entry);
    void end(std::uint64_t seq, int status, Outcome outcome);
    void clear();

    /// {"requests": [...], "first": seq of the oldest in the log, "next": seq of the next request to come,
    /// "forgotten": how many fell out}.
    [[nodiscard]] QJsonObject toJson(const RequestFilter& filter) const;
    /// Null when there is no such request, or no longer. The pointer holds until the next change.
    [[nodiscard]] const LoggedRequest* find(std::uint64_t seq) const;

private:
    [[nodiscard]] std::uint64_t first() const { return m_entries.empty() ? m_next : m_entries.front().seq; }

    std::deque<LoggedRequest> m_entries;
    std::uint64_t m_next = 1;
    qint64 m_forgotten = 0;
    std::size_t m_bytes = 0;
};

}  // namespace marksim
