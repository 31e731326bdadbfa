#pragma once

#include <atomic>
#include <functional>

#include <utils/currenttime.h>

/// A clock that stands still until it is moved, the process's clock while it lives. Threads: any.
class SimulatedClock : public CurrentTime
{
public:
    SimulatedClock() { MockFactory<CurrentTime>::mocked = this; }
    ~SimulatedClock() override { MockFactory<CurrentTime>::mocked = nullptr; }

    [[nodiscard]] QDateTime currentDateTime() const override
    {
        const auto passed = std::chrono::floor<std::chrono::milliseconds>(monotonic() - start);
        return QDateTime(QDate(2026, 1, 2), QTime(12, 0), Qt::UTC).addMSecs(passed.count());
    }
    /// Calls `onLook` when the time is read.
    [[nodiscard]] std::chrono::nanoseconds monotonic() const override
    {
        const auto now = m_now.load();
        if (onLook) {
            onLook();
        }
        return now;
    }
    /// Moves the clock instead of waiting, then calls `onSleep`.
    void sleepFor(std::chrono::milliseconds duration) const override
    {
        advance(duration);
        if (onSleep) {
            onSleep();
        }
    }

    void advance(std::chrono::nanoseconds duration) const
    {
        auto now = m_now.load();
        while (!m_now.compare_exchange_weak(now, now + duration)) {
        }
    }

    // Set before any other thread uses this clock.
    std::function<void()> onSleep;
    std::function<void()> onLook;

private:
    static constexpr std::chrono::nanoseconds start = std::chrono::hours(1000);  // up for long
    mutable std::atomic<std::chrono::nanoseconds> m_now = start;
};
