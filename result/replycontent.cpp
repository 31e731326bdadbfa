#include "result/replycontent.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QLatin1String>

#include "result/replyfields.h"

namespace {

QLatin1String latin(std::string_view text)
{
    return QLatin1String(text.data(), qsizetype(text.size()));
}

/// `text` is where the value's text is kept.
FieldValue valueOf(const QJsonValue& value, QString& text)
{
    switch (value.type()) {
    case QJsonValue::Null:
        return {.kind = FieldValue::Null};
    case QJsonValue::Bool:
        return {.kind = FieldValue::Bool, .truth = value.toBool()};
    case QJsonValue::Double:
        return {.kind = FieldValue::Integer, .number = value.toInteger()};
    case QJsonValue::String:
        text = value.toString();
        return {.kind = FieldValue::Text, .text = text};
    default:
        return {};
    }
}

template <class Target>
void readFields(Target& target, const ReplyFields<Target>& fields, const QJsonObject& object)
{
    QString text;
    for (const ReplyField<Target>& field : fields) {
        if (const QJsonValue value = object.value(latin(field.name)); !value.isUndefined()) {
            field.read(target, valueOf(value, text));
        }
    }
}

ReplyEntry entryOf(const QJsonObject& object)
{
    ReplyEntry entry;
    readFields(entry, entryFields(), object);
    if (const QJsonArray groups = object.value(latin(GroupIds)).toArray(); !groups.isEmpty()) {
        entry.groupId = groups.first().toInt();
    }
    return entry;
}

}  // namespace

ReplyContent ReplyContent::fromObject(const QJsonObject& object)
{
    ReplyContent content;
    readFields(content.request, requestFields(), object);
    const QJsonArray codes = object.value(latin(Codes)).toArray();
    content.entries.reserve(size_t(codes.size()));
    for (const auto& code : codes) {
        content.entries.push_back(entryOf(code.toObject()));
    }
    return content;
}
