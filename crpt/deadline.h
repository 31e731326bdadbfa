#pragma once

#include <chrono>

#include <QDeadlineTimer>

/// A point in time of the host's monotonic clock (CurrentTime), or never. A value.
class Deadline
{
public:
    /// Never.
    Deadline() = default;
    /// `limit` from now; never for one that is too long to be counted. It has passed already for zero or
    /// less.
    [[nodiscard]] static Deadline in(std::chrono::milliseconds limit);

    [[nodiscard]] bool hasPassed() const { return remaining() <= std::chrono::nanoseconds::zero(); }
    /// Zero or less when it has passed, nanoseconds::max() for never.
    [[nodiscard]] std::chrono::nanoseconds remaining() const;
    /// The same point in time for the HTTP client, which need not have the same clock.
    [[nodiscard]] QDeadlineTimer timer() const;

    /// For time that is not to count.
    void postpone(std::chrono::nanoseconds by);

    /// Comes before the other; never comes last.
    friend bool operator<(const Deadline& a, const Deadline& b) { return a.m_time < b.m_time; }

private:
    static constexpr auto never = std::chrono::nanoseconds::max();
    std::chrono::nanoseconds m_time = never;
};
