#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

namespace {

/// What is wrong with what an entry names; an empty text when that file has these words.
QString faultOf(const QString& file, const QString& words, const QString& otherwise)
{
    if (!QFileInfo(file).isFile()) {
        return "tools/checkdocs/limits.json: names " + file + ", and there is no such file";
    }
    return !words.isEmpty() && readFile(file).simplified().contains(words) ? QString() : otherwise;
}

}  // namespace

QStringList checkLimits()
{
    const QJsonArray limits =
        QJsonDocument::fromJson(readFile("tools/checkdocs/limits.json").toUtf8()).array();
    QStringList faults = limits.isEmpty() ? QStringList{"limits.json cannot be read"} : QStringList{};
    for (const QJsonValue entry : limits) {
        const QJsonObject limit = entry.toObject(), documents = limit["documents"].toObject();
        const QString source = limit["source"].toString(), constant = limit["constant"].toString();
        faults.append(
            faultOf(source, constant,
                    source + ": has no `" + constant + "`; what else says so stands in limits.json"));
        for (auto document = documents.begin(); document != documents.end(); ++document) {
            const QString words = document.value().toString();
            faults.append(faultOf(document.key(), words,
                                  document.key() + ": no longer says \"" + words + "\", as " + source +
                                      " does with `" + constant + '`'));
        }
    }
    faults.removeAll(QString());
    return faults;
}

}  // namespace checkdocs
