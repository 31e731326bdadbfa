#pragma once

#include <QSharedPointer>
#include <QString>
#include <QVariant>

#include <orvex/valuemap.h>
#include <utils/export.h>

/// An event of the host: a code (see EActivityListener::Event) and named values. Copies share the values:
/// what a view writes, every other view of the event reads. Threads: any.
class ORVEX_EXPORT Event
{
public:
    explicit Event(int code = 0);

    [[nodiscard]] int getCode() const { return m_code; }
    [[nodiscard]] bool contains(const QString& key) const { return m_values->contains(key); }
    [[nodiscard]] QVariant value(const QString& key, const QVariant& fallback = {}) const
    {
        return m_values->value(key, fallback);
    }
    /// Replaces an earlier value. Const: it changes the shared values, not this handle of them.
    void insert(const QString& key, const QVariant& value) const { m_values->insert(key, value); }

private:
    int m_code;
    QSharedPointer<ValueMap> m_values;
};
