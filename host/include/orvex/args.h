#pragma once

#include <QString>
#include <QVariant>

#include <orvex/action.h>
#include <utils/export.h>

namespace control::args {

/// A view over an action's arguments. Views hold no data: all views of one action share one state.
class ORVEX_EXPORT Basic
{
public:
    explicit Basic(const Action& action);
    virtual ~Basic();
    Basic(const Basic&) = default;
    Basic(Basic&&) = default;
    Basic& operator=(const Basic&) = default;
    Basic& operator=(Basic&&) = default;

    [[nodiscard]] bool contains(const QString& key) const { return m_action.contains(key); }

protected:
    /// The argument as T: a value of exactly that type as it is, anything else as the meta-type system
    /// converts it, a default T when it is missing or cannot be converted.
    template <class T>
    [[nodiscard]] T read(const QString& key) const
    {
        return m_action.value(key).value<T>();
    }
    template <class T>
    void write(const QString& key, const T& value) const
    {
        m_action.insert(key, QVariant::fromValue(value));
    }

private:
    Action m_action;
};

/// The arguments that every action has.
class ORVEX_EXPORT Core : public Basic
{
public:
    using Basic::Basic;
    ~Core() override;
};

/// Arguments of actions that are addressed to one plug-in.
class ORVEX_EXPORT Plugin : public Core
{
public:
    using Core::Core;
    ~Plugin() override;

    /// Name of the plug-in, as the host's user wrote it; empty when missing.
    [[nodiscard]] QString pluginName() const;
    void setPluginName(const QString& name) const;
};

}  // namespace control::args
