#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

namespace {

/// The names of all members, at whatever depth.
void collectMembers(const QJsonValue& value, QSet<QString>& names)
{
    const QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member) {
        names.insert(member.key());
        collectMembers(member.value(), names);
    }
    for (const QJsonValue element : value.toArray()) {
        collectMembers(element, names);
    }
}

/// The properties that a JSON schema describes, and the words that they may be.
void collectDescribed(const QJsonValue& schema, QSet<QString>& names)
{
    const QJsonObject object = schema.toObject();
    for (const QString& property : object["properties"].toObject().keys()) {
        names.insert(property);
    }
    for (const QJsonValue word : object["enum"].toArray()) {
        names.insert(word.toString());
    }
    for (const QJsonValue member : object) {
        collectDescribed(member, names);
    }
    for (const QJsonValue element : schema.toArray()) {
        collectDescribed(element, names);
    }
}

/// Those of the names that stand nowhere in the text as code, alone or among others.
QStringList unnamed(const QString& file, const QString& text, const QSet<QString>& names)
{
    QStringList faults = names.isEmpty() ? QStringList{file + " has nothing to name"} : QStringList{};
    for (const QString& name : names) {
        const QString word = QRegularExpression::escape(name);
        if (!text.contains(QRegularExpression("(?<![\\w-])[`\"]" + word + "[`\"]"))) {
            faults.append(file + " does not name `" + name + '`');
        }
    }
    return faults;
}

}  // namespace

QStringList checkMembers(const QString& file, const QByteArray& object)
{
    QSet<QString> names;
    collectMembers(QJsonDocument::fromJson(object).object(), names);
    return unnamed(file, readFile(file), names);
}

QStringList checkStandInterface()
{
    QSet<QString> names;
    for (const QString file : {"docs/stand-scenario.schema.json", "docs/stand-admin.openapi.json"}) {
        collectDescribed(QJsonDocument::fromJson(readFile(file).toUtf8()).object(), names);
    }
    names -= {"", "$schema"};
    return unnamed("docs/stand.md", readFile("docs/stand.md"), names);
}

}  // namespace checkdocs
