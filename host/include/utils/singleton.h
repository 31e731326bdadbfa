#pragma once

#include <atomic>
#include <mutex>

#include <utils/export.h>

/// The one object of type T in the process, created with T() on first use.
///
/// Host and plug-ins must see the same object, so the static state has default visibility, and the library
/// that owns T instantiates the template (`template class Singleton<T>;`) while its header declares that
/// (`extern template class Singleton<T>;`).
///
/// The object lives until reset(). It is not destroyed at the end of the process: whatever is destroyed then
/// may still use it. Threads: any; T guards its own state.
template <class T>
class ORVEX_EXPORT Singleton
{
public:
    /// Never null.
    [[nodiscard]] static T* instance()
    {
        if (T* known = m_object.load(std::memory_order_acquire)) {
            return known;
        }
        const std::lock_guard lock(m_mutex);
        T* object = m_object.load(std::memory_order_relaxed);
        if (object == nullptr) {
            object = new T();
            m_object.store(object, std::memory_order_release);
        }
        return object;
    }

    /// Destroys the object; the next instance() creates a new one. Only while nobody else uses the old one:
    /// between tests, or when the host shuts down.
    static void reset() { delete m_object.exchange(nullptr, std::memory_order_acq_rel); }

private:
    // Not inline: "extern template" does not keep inline variables out of the libraries that only use T.
    static std::mutex m_mutex;
    static std::atomic<T*> m_object;
};

template <class T>
std::mutex Singleton<T>::m_mutex;
template <class T>
std::atomic<T*> Singleton<T>::m_object = nullptr;
