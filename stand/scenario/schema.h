#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <stdexcept>

namespace marksim {

/// Somebody's input is wrong; what() is one line for that person: where, what, and what would be right.
class InputError : public std::runtime_error
{
public:
    explicit InputError(const QString& message)
        : std::runtime_error(message.toStdString())
    {
    }
};

/// The content of a file, or of a resource of this program. Throws InputError.
[[nodiscard]] QByteArray readFile(const QString& path);

/// Parses `bytes` as a JSON document with an object or an array at its top; `where` names it in messages.
/// Throws InputError.
[[nodiscard]] QJsonValue parseJson(const QByteArray& bytes, const QString& where);

/// The keys that a definition of docs/stand-scenario.schema.json knows.
[[nodiscard]] QStringList keysOf(QLatin1String definition);

/// Holds `value` against docs/stand-scenario.schema.json, or against that of its definitions that is named.
/// Whoever reads the value afterwards can rely on its keys, types and ranges. Throws InputError; `where`
/// names the value in it.
///
/// Known of JSON Schema: $ref to a definition, oneOf with alternatives of different types, type, enum,
/// minimum and maximum, minLength and maxLength, pattern, contentEncoding, items, properties,
/// patternProperties, propertyNames, additionalProperties, required. "title" says in messages what a value
/// must be.
void validate(const QJsonValue& value, const QString& where, QLatin1String definition = {});

}  // namespace marksim
