#pragma once

#include <atomic>

/// A bool that one thread may write while others read or copy it.
class SharedFlag
{
public:
    SharedFlag(bool value) noexcept  // NOLINT(google-explicit-constructor): stands in for a bool
        : m_value(value)
    {
    }
    SharedFlag(const SharedFlag& other) noexcept
        : m_value(bool(other))
    {
    }
    SharedFlag& operator=(const SharedFlag& other) noexcept
    {
        m_value.store(bool(other));
        return *this;
    }
    SharedFlag& operator=(bool value) noexcept
    {
        m_value.store(value);
        return *this;
    }
    ~SharedFlag() = default;

    operator bool() const noexcept { return m_value.load(); }  // NOLINT(google-explicit-constructor)

private:
    std::atomic<bool> m_value;
};
