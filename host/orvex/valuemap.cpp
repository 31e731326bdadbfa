#include <orvex/valuemap.h>

bool ValueMap::contains(const QString& key) const
{
    const std::lock_guard lock(m_mutex);
    return m_values.contains(key);
}

QVariant ValueMap::value(const QString& key, const QVariant& fallback) const
{
    const std::lock_guard lock(m_mutex);
    return m_values.value(key, fallback);
}

void ValueMap::insert(const QString& key, const QVariant& value)
{
    const std::lock_guard lock(m_mutex);
    m_values.insert(key, value);
}

QMap<QString, QVariant> ValueMap::values() const
{
    const std::lock_guard lock(m_mutex);
    return m_values;
}
