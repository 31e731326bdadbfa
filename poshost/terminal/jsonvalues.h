#pragma once

#include <functional>
#include <optional>

#include <QJsonArray>
#include <QString>

namespace poshost {

/// Null for what is not there.
template <class Value>
[[nodiscard]] QJsonValue orNull(const std::optional<Value>& value)
{
    return value ? QJsonValue(*value) : QJsonValue();
}

[[nodiscard]] inline QJsonValue orNull(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

template <class List, class Describe>
[[nodiscard]] QJsonArray arrayOf(const List& list, Describe describe)
{
    QJsonArray array;
    for (const auto& element : list) {
        array.append(std::invoke(describe, element));
    }
    return array;
}

}  // namespace poshost
