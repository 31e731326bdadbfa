#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

/// A mutex that is handed over in order of arrival. A thread that holds it may lock it again.
///
/// For what takes long, a whole failover or an exchange with a local module: nobody waits longer than those
/// who came before it need, and nobody longer than it wants to. Works with std::unique_lock and
/// std::lock_guard. Threads: any.
///
/// What must not run under the lock, such as a notice whose listeners may wait for a thread that wants the
/// lock, is given to runUnlocked().
class FairMutex
{
public:
    FairMutex() = default;
    FairMutex(const FairMutex&) = delete;
    FairMutex& operator=(const FairMutex&) = delete;
    ~FairMutex() = default;

    void lock() { (void)lockUntil(std::nullopt); }
    [[nodiscard]] bool try_lock() { return lockUntil(Clock::now()); }
    /// False when the turn has not come within `limit`; one too long for the clock to count is none.
    [[nodiscard]] bool try_lock_for(std::chrono::nanoseconds limit);
    /// As often as it was locked, by the thread that holds it.
    void unlock();

    using Action = std::function<void()>;
    /// Calls `action` in this thread: at once when the thread does not hold the mutex, otherwise as soon as
    /// it has let it go for good, after the actions given before. What an action throws is dropped.
    void runUnlocked(Action action);

private:
    using Clock = std::chrono::steady_clock;
    struct Waiter
    {
        std::thread::id thread;
        std::condition_variable called;
    };

    bool lockUntil(std::optional<Clock::time_point> deadline);

    mutable std::mutex m_mutex;  // guards what follows; held for moments only
    std::thread::id m_holder;    // none while it is free
    int m_depth = 0;             // how often the holder has locked it
    std::deque<Waiter*> m_waiters;
    std::vector<Action> m_actions;  // of the holder, for when it has let go
};
