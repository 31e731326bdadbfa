#pragma once

#include <QSharedPointer>
#include <QString>
#include <QVariant>

#include <orvex/valuemap.h>
#include <utils/export.h>

namespace control {

/// What the host asks its plug-ins for, by number.
enum class EActionType : int {
    None = 0,
    /// Are the outside services reachable? Answered with tasks that find out.
    CheckConnection = 223,
    /// Check marking codes with a verification service.
    VerifyMarking = 253,
};

/// An action: a type and named arguments, results among them. Copies share the arguments: what a view writes,
/// every other view of the action reads. Threads: any.
class ORVEX_EXPORT Action
{
public:
    explicit Action(EActionType type = EActionType::None);

    [[nodiscard]] EActionType getType() const { return m_type; }
    [[nodiscard]] bool contains(const QString& key) const { return m_arguments->contains(key); }
    /// An invalid QVariant when the key is missing.
    [[nodiscard]] QVariant value(const QString& key) const { return m_arguments->value(key, {}); }
    /// Replaces an earlier value. Const: it changes the shared arguments, not this handle of them.
    void insert(const QString& key, const QVariant& value) const { m_arguments->insert(key, value); }

private:
    EActionType m_type;
    QSharedPointer<ValueMap> m_arguments;
};

}  // namespace control
