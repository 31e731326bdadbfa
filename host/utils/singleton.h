#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include <utils/export.h>

/// The one object of type T in the process, created with T() on first use.
///
/// Host and plug-ins must see the same object, so the static state has default visibility and the library
/// that owns T instantiates the template (`template class Singleton<T>;`) while its header declares that
/// (`extern template class Singleton<T>;`).
///
/// Threads: any. The object lives until reset() or the end of the process; T guards its own state.
template <class T>
class ORVEX_EXPORT Singleton
{
public:
    /// Never null.
    [[nodiscard]] static T* instance()
    {
        if (T* known = m_fast.load(std::memory_order_acquire)) {
            return known;
        }
        const std::lock_guard lock(m_mutex);
        if (!m_owner) {
            m_owner = std::make_unique<T>();
            m_fast.store(m_owner.get(), std::memory_order_release);
        }
        return m_owner.get();
    }

    /// Destroys the object; the next instance() creates a new one. Only while nobody else uses the old one:
    /// between tests, or when the host shuts down.
    static void reset()
    {
        std::unique_ptr<T> old;
        const std::lock_guard lock(m_mutex);
        m_fast.store(nullptr, std::memory_order_release);
        old.swap(m_owner);
    }

private:
    static inline std::mutex m_mutex;
    static inline std::unique_ptr<T> m_owner;
    static inline std::atomic<T*> m_fast = nullptr;
};
