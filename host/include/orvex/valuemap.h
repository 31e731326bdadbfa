#pragma once

#include <mutex>

#include <QMap>
#include <QString>
#include <QVariant>

#include <utils/export.h>

/// Named values that several views share. Keys are ordered and compared case-sensitively. Threads: any.
class ORVEX_EXPORT ValueMap
{
public:
    ValueMap() = default;
    ValueMap(const ValueMap&) = delete;
    ValueMap& operator=(const ValueMap&) = delete;
    ~ValueMap() = default;

    [[nodiscard]] bool contains(const QString& key) const;
    /// `fallback` when the key is missing.
    [[nodiscard]] QVariant value(const QString& key, const QVariant& fallback) const;
    /// Replaces an earlier value.
    void insert(const QString& key, const QVariant& value);
    [[nodiscard]] QMap<QString, QVariant> values() const;

private:
    mutable std::mutex m_mutex;
    QMap<QString, QVariant> m_values;
};
