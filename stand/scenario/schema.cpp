#include "stand/scenario/schema.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

struct Type
{
    QJsonValue::Type type;
    QString description;
};

const QMap<QString, Type>& types()
{
    static const QMap<QString, Type> map = {
        {u"object"_s, {QJsonValue::Object, u"an object {...}"_s}},
        {u"array"_s, {QJsonValue::Array, u"an array [...]"_s}},
        {u"string"_s, {QJsonValue::String, u"a text in quotes"_s}},
        {u"boolean"_s, {QJsonValue::Bool, u"true or false"_s}},
        {u"integer"_s, {QJsonValue::Double, u"a whole number"_s}},
        {u"null"_s, {QJsonValue::Null, u"null"_s}},
    };
    return map;
}

QJsonObject definition(const QString& name)
{
    static const auto root =
        parseJson(readFile(u":/docs/stand-scenario.schema.json"_s), u"schema"_s).toObject();
    return name.isEmpty() ? root : root["$defs"_L1][name].toObject();
}

/// `schema`, or what it refers to, with what stands beside the reference.
QJsonObject resolved(const QJsonValue& schema)
{
    auto object = schema.toObject();
    const auto reference = object.take("$ref"_L1).toString();
    if (reference.isEmpty()) {
        return object;
    }
    auto target = resolved(definition(reference.section(u'/', -1)));
    for (auto member = object.begin(); member != object.end(); ++member) {
        target[member.key()] = *member;
    }
    return target;
}

bool isOfType(const QJsonValue& value, const QJsonObject& schema)
{
    // One name, several, or none at all.
    const auto names = schema["type"_L1].toVariant().toStringList();
    const auto number = value.toDouble();
    return names.isEmpty() || std::ranges::any_of(names, [&](const QString& name) {
               return value.type() == types()[name].type &&
                      (name != "integer"_L1 || number == std::floor(number));
           });
}

/// What a value must be, for people.
QString expectation(const QJsonObject& schema)
{
    if (schema.contains("title"_L1)) {
        return schema["title"_L1].toString();
    }
    const auto type = schema["type"_L1].toString();
    auto text = types()[type].description;
    if (schema.contains("maximum"_L1)) {
        text += u" from %1 to %2"_s.arg(schema["minimum"_L1].toInt()).arg(schema["maximum"_L1].toInt());
    }
    return text;
}

bool isValidText(const QString& text, const QJsonObject& schema)
{
    const auto encoded = schema["contentEncoding"_L1] == "base64"_L1;
    const auto base64 = QByteArray::AbortOnBase64DecodingErrors;
    return text.size() >= schema["minLength"_L1].toInt() &&
           text.size() <= schema["maxLength"_L1].toInteger(text.size()) &&
           QRegularExpression(schema["pattern"_L1].toString()).match(text).hasMatch() &&
           (!encoded || QByteArray::fromBase64Encoding(text.toLatin1(), base64));
}

bool isValidNumber(double number, const QJsonObject& schema)
{
    return number >= schema["minimum"_L1].toDouble(number) && number <= schema["maximum"_L1].toDouble(number);
}

void check(const QJsonValue& value, const QJsonValue& schema, const QString& where);

void checkChoice(const QJsonValue& value, const QJsonArray& choices, const QString& where)
{
    if (choices.contains(value)) {
        return;
    }
    QStringList known;
    for (const auto& choice : choices) {
        known << choice.toString();
    }
    throw InputError(u"%1: \"%2\" is not one of %3"_s.arg(where, value.toString(), known.join(u", "_s)));
}

/// The schema of one member; undefined for a key that is not known.
QJsonValue schemaOf(const QString& key, const QJsonObject& schema)
{
    const auto properties = schema["properties"_L1].toObject();
    if (properties.contains(key)) {
        return properties[key];
    }
    const auto patterns = schema["patternProperties"_L1].toObject();
    for (auto pattern = patterns.begin(); pattern != patterns.end(); ++pattern) {
        if (QRegularExpression(pattern.key()).match(key).hasMatch()) {
            return *pattern;
        }
    }
    const auto others = schema["additionalProperties"_L1];
    return others.isBool() ? QJsonValue(QJsonValue::Undefined) : others.toObject();
}

void checkMembers(const QJsonObject& object, const QJsonObject& schema, const QString& where)
{
    const auto properties = schema["properties"_L1].toObject();
    for (auto member = object.begin(); member != object.end(); ++member) {
        const auto known = schemaOf(member.key(), schema);
        if (known.isUndefined()) {
            const auto keys = properties.isEmpty() ? expectation(schema) : properties.keys().join(u", "_s);
            throw InputError(u"%1: unknown key \"%2\"; known keys: %3"_s.arg(where, member.key(), keys));
        }
        const auto names = resolved(schema["propertyNames"_L1]);
        if (!isValidText(member.key(), names)) {
            throw InputError(u"%1: \"%2\" must be %3"_s.arg(where, member.key(), expectation(names)));
        }
        check(*member, known, where + u'.' + member.key());
    }
    const auto required = schema["required"_L1].toArray();
    for (const auto& key : required) {
        if (!object.contains(key.toString())) {
            check(QJsonValue::Undefined, properties[key.toString()], where + u'.' + key.toString());
        }
    }
}

void check(const QJsonValue& value, const QJsonValue& schemaOrReference, const QString& where)
{
    const auto schema = resolved(schemaOrReference);
    const auto alternatives = schema["oneOf"_L1].toArray();
    const auto fitting = std::ranges::find_if(
        alternatives, [&value](const QJsonValue& one) { return isOfType(value, resolved(one)); });
    if (fitting != alternatives.end()) {
        return check(value, *fitting, where);
    }
    if (!alternatives.isEmpty() || !isOfType(value, schema) || !isValidNumber(value.toDouble(), schema) ||
        !isValidText(value.toString(), schema)) {
        throw InputError(u"%1: must be %2"_s.arg(where, expectation(schema)));
    }
    if (schema.contains("enum"_L1)) {
        checkChoice(value, schema["enum"_L1].toArray(), where);
    }
    const auto elements = value.toArray();
    for (qsizetype i = 0; i < elements.size(); ++i) {
        check(elements[i], schema["items"_L1], u"%1[%2]"_s.arg(where).arg(i));
    }
    checkMembers(value.toObject(), schema, where);
}

}  // namespace

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw InputError(u"%1: cannot be read (%2)"_s.arg(path, file.errorString()));
    }
    return file.readAll();
}

QJsonValue parseJson(const QByteArray& bytes, const QString& where)
{
    QJsonParseError error{};
    const auto document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        throw InputError(u"%1: line %2: this is not JSON (%3)"_s.arg(where)
                             .arg(bytes.left(error.offset).count('\n') + 1)
                             .arg(error.errorString()));
    }
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

QStringList keysOf(QLatin1String name)
{
    return definition(name)["properties"_L1].toObject().keys();
}

void validate(const QJsonValue& value, const QString& where, QLatin1String name)
{
    check(value, definition(name), where);
}

}  // namespace marksim
