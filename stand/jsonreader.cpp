#include "jsonreader.h"

#include <QJsonDocument>
#include <cmath>

namespace marksim {

using namespace Qt::StringLiterals;

JsonReader::JsonReader(const QJsonValue& value, QString where)
    : where_(std::move(where))
{
    if (!value.isObject())
        throw InputError(u"%1: must be an object {...}"_s.arg(where_));
    object_ = value.toObject();
}

QJsonValue JsonReader::take(QLatin1String key)
{
    if (!known_.contains(key))
        known_ << key;
    return object_.value(key);
}

QString JsonReader::at(QLatin1String key) const
{
    return where_ + u'.' + key;
}

void JsonReader::fail(QLatin1String key, const QString& why) const
{
    throw InputError(u"%1: %2"_s.arg(at(key), why));
}

std::optional<qint64> JsonReader::integer(QLatin1String key, qint64 least, qint64 most)
{
    const auto value = take(key);
    if (value.isUndefined())
        return std::nullopt;
    const double number = value.toDouble(std::nan(""));
    if (!(number >= static_cast<double>(least) && number <= static_cast<double>(most)) ||
        number != std::floor(number))
        fail(key, u"must be a whole number from %1 to %2"_s.arg(least).arg(most));
    return static_cast<qint64>(number);
}

std::optional<bool> JsonReader::flag(QLatin1String key)
{
    const auto value = take(key);
    if (value.isUndefined())
        return std::nullopt;
    if (!value.isBool())
        fail(key, u"must be true or false"_s);
    return value.toBool();
}

std::optional<QString> JsonReader::text(QLatin1String key)
{
    const auto value = take(key);
    if (value.isUndefined())
        return std::nullopt;
    if (!value.isString())
        fail(key, u"must be a text in quotes"_s);
    return value.toString();
}

std::optional<QJsonObject> JsonReader::object(QLatin1String key)
{
    const auto value = take(key);
    if (value.isUndefined())
        return std::nullopt;
    if (!value.isObject())
        fail(key, u"must be an object {...}"_s);
    return value.toObject();
}

std::optional<QJsonArray> JsonReader::array(QLatin1String key)
{
    const auto value = take(key);
    if (value.isUndefined())
        return std::nullopt;
    if (!value.isArray())
        fail(key, u"must be an array [...]"_s);
    return value.toArray();
}

std::optional<QStringList> JsonReader::texts(QLatin1String key)
{
    const auto given = array(key);
    if (!given)
        return std::nullopt;
    QStringList list;
    for (const auto& element : *given) {
        if (!element.isString())
            fail(key, u"must be an array of texts"_s);
        list << element.toString();
    }
    return list;
}

std::optional<QJsonValue> JsonReader::value(QLatin1String key)
{
    const auto value = take(key);
    return value.isUndefined() ? std::nullopt : std::optional(value);
}

void JsonReader::finish() const
{
    const auto keys = object_.keys();
    for (const auto& key : keys) {
        if (!known_.contains(key))
            throw InputError(
                u"%1: unknown key \"%2\"; known keys: %3"_s.arg(where_, key, known_.join(u", "_s)));
    }
}

QJsonValue parseJson(const QByteArray& bytes, const QString& where)
{
    QJsonParseError error{};
    const auto document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        throw InputError(u"%1: line %2: this is not JSON (%3)"_s.arg(where)
                             .arg(bytes.left(error.offset).count('\n') + 1)
                             .arg(error.errorString()));
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

}  // namespace marksim
