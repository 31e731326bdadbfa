#pragma once

#include <atomic>

#include <QSharedPointer>

#include <utils/export.h>

/// Creates the objects that tests replace: the clock, the HTTP client, the dialog.
///
/// Without a registered double, create() gives a new T that the pointer owns. With one (`mocked` set), it
/// gives a pointer to the double that deletes nothing; the double must outlive every such pointer.
///
/// The state has default visibility and is instantiated by the library that owns T, as for Singleton.
/// Threads: create() any; `mocked` is changed only while nothing that creates a T is running.
template <class T>
class ORVEX_EXPORT MockFactory
{
public:
    static std::atomic<T*> mocked;

    [[nodiscard]] static QSharedPointer<T> create()
    {
        if (T* standIn = mocked.load(std::memory_order_acquire)) {
            return QSharedPointer<T>(standIn, [](T*) {});
        }
        return QSharedPointer<T>::create();
    }
};

template <class T>
std::atomic<T*> MockFactory<T>::mocked = nullptr;
