#pragma once

#include <QString>
#include <QVariant>

#include <orvex/event.h>
#include <utils/export.h>
#include <utils/tr.h>

namespace events {

/// A view over an event's values. Views hold no data: all views of one event share one state.
class ORVEX_EXPORT Wrapper
{
public:
    explicit Wrapper(const Event& event);
    virtual ~Wrapper();
    Wrapper(const Wrapper&) = default;
    Wrapper(Wrapper&&) = default;
    Wrapper& operator=(const Wrapper&) = default;
    Wrapper& operator=(Wrapper&&) = default;

    [[nodiscard]] const Event& event() const { return m_event; }

protected:
    /// The value as T: a value of exactly that type as it is, anything else as the meta-type system converts
    /// it, a default T when it is missing or cannot be converted.
    template <class T>
    [[nodiscard]] T read(const QString& key) const
    {
        return m_event.value(key, QVariant()).template value<T>();
    }
    template <class T>
    void write(const QString& key, const T& value) const
    {
        m_event.insert(key, QVariant::fromValue(value));
    }

private:
    Event m_event;
};

/// A message for the cashier (event 250). A later one with the same id replaces it; an empty text withdraws
/// it.
class ORVEX_EXPORT ErrorNotification : public Wrapper
{
public:
    using Wrapper::Wrapper;
    ~ErrorNotification() override;

    [[nodiscard]] tr::Tr notification() const;
    void setNotification(const tr::Tr& text) const;

    /// Whose message it is: one sender has one message at a time.
    [[nodiscard]] QString id() const;
    void setId(const QString& id) const;
};

}  // namespace events
