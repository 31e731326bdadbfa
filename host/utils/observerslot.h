#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include <QScopeGuard>

/// Room for at most one observer of what happens in many threads. Without one it costs one atomic read.
/// Threads: any.
template <class Record>
class ObserverSlot
{
public:
    using Observer = std::function<void(const Record&)>;

    /// Replaces the observer; an empty function removes it. After the call returns, an earlier observer is
    /// neither running nor called any more (unless it made the call itself).
    void set(Observer observer)
    {
        auto next = observer ? std::make_shared<const Observer>(std::move(observer)) : nullptr;
        const std::lock_guard lock(m_mutex);
        m_isSet = next != nullptr;
        m_observer.swap(next);
    }

    [[nodiscard]] bool isSet() const { return m_isSet.load(std::memory_order_relaxed); }

    /// Calls the observer in this thread. Calls do not overlap; what the observer itself causes is not told.
    /// What it throws is dropped.
    void tell(const Record& record) noexcept
    {
        try {
            const std::lock_guard lock(m_mutex);
            if (m_observer == nullptr || m_runs) {
                return;
            }
            const auto observer = m_observer;  // it may replace itself
            m_runs = true;
            const auto finished = qScopeGuard([this] { m_runs = false; });
            (*observer)(record);
        } catch (...) {  // NOLINT(bugprone-empty-catch): watching must not disturb what is watched
        }
    }

private:
    std::atomic<bool> m_isSet = false;
    /// Held while the observer runs, so that removing it waits for its last call; recursive, so that it may
    /// cause what it observes, or remove itself.
    std::recursive_mutex m_mutex;
    std::shared_ptr<const Observer> m_observer;
    bool m_runs = false;
};
