#include "sync/fairmutex.h"

#include <algorithm>
#include <utility>

namespace {
void run(const FairMutex::Action& action)
{
    try {
        action();
    } catch (...) {
        // the lock is gone already, and whoever lets it go may be a destructor
    }
}
}  // namespace

bool FairMutex::try_lock_for(std::chrono::nanoseconds limit)
{
    const auto now = Clock::now();
    const bool isCountable = limit < Clock::time_point::max() - now;
    return lockUntil(isCountable ? std::optional(now + limit) : std::nullopt);
}

bool FairMutex::lockUntil(std::optional<Clock::time_point> deadline)
{
    const auto self = std::this_thread::get_id();
    std::unique_lock lock(m_mutex);
    if (m_holder == std::thread::id()) {
        m_holder = self;
    } else if (m_holder != self) {
        Waiter waiter{self, {}};
        m_waiters.push_back(&waiter);
        const auto isCalled = [&] { return m_holder == self; };
        if (!deadline) {
            waiter.called.wait(lock, isCalled);
        } else if (!waiter.called.wait_until(lock, *deadline, isCalled)) {
            std::erase(m_waiters, &waiter);
            return false;
        }
    }
    ++m_depth;
    return true;
}

void FairMutex::unlock()
{
    std::unique_lock lock(m_mutex);
    if (--m_depth > 0) {
        return;
    }
    const auto actions = std::exchange(m_actions, {});
    m_holder = {};
    if (!m_waiters.empty()) {
        // Handed over here and now, so that nobody who comes meanwhile gets in before.
        Waiter* next = m_waiters.front();
        m_waiters.pop_front();
        m_holder = next->thread;
        next->called.notify_one();
    }
    lock.unlock();
    std::for_each(actions.begin(), actions.end(), run);
}

void FairMutex::runUnlocked(Action action)
{
    std::unique_lock lock(m_mutex);
    if (m_holder == std::this_thread::get_id()) {
        m_actions.push_back(std::move(action));
    } else {
        lock.unlock();
        run(action);
    }
}
