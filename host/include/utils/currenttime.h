#pragma once

#include <chrono>

#include <QDateTime>

#include <utils/export.h>
#include <utils/mockfactory.h>

/// The host's clock. Created through MockFactory<CurrentTime>::create(), so that a test can replace it.
/// Threads: any; the class has no state.
class ORVEX_EXPORT CurrentTime
{
public:
    CurrentTime() = default;
    CurrentTime(const CurrentTime&) = delete;
    CurrentTime& operator=(const CurrentTime&) = delete;
    virtual ~CurrentTime() = default;

    /// Wall clock: the current date and time in UTC, with milliseconds. May jump when the clock is set.
    [[nodiscard]] virtual QDateTime currentDateTime() const;

    /// Monotonic clock: time since an arbitrary, fixed point (the one that QDeadlineTimer counts from).
    /// Never goes back.
    [[nodiscard]] virtual std::chrono::nanoseconds monotonic() const;

    /// Pauses the calling thread for at least `duration`; returns at once when it is zero or negative.
    virtual void sleepFor(std::chrono::milliseconds duration) const;
};

extern template class MockFactory<CurrentTime>;
