#pragma once

#include <atomic>
#include <functional>

#include <utils/currenttime.h>

/// A clock that stands still until it is moved, the process's clock while it lives. Threads: any.
class SimulatedClock : public CurrentTime
{
public:
    SimulatedClock();
    ~SimulatedClock() override;

    [[nodiscard]] QDateTime currentDateTime() const override;
    /// Calls `onLook` when the time is read.
    [[nodiscard]] std::chrono::nanoseconds monotonic() const override;
    /// Moves the clock instead of waiting, then calls `onSleep`.
    void sleepFor(std::chrono::milliseconds duration) const override;

    void advance(std::chrono::nanoseconds duration) const;

    // Set before any other thread uses this clock.
    std::function<void()> onSleep;
    std::function<void()> onLook;

private:
    mutable std::atomic<std::chrono::nanoseconds> m_now;
};
