#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

QStringList checkLimits(const QString& root)
{
    const QJsonArray limits =
        QJsonDocument::fromJson(readFile(root, "tools/checkdocs/limits.json").toUtf8()).array();
    QStringList faults = limits.isEmpty() ? QStringList{"limits.json cannot be read"} : QStringList{};
    for (const QJsonValue entry : limits) {
        const QJsonObject limit = entry.toObject(), documents = limit["documents"].toObject();
        const QString source = limit["source"].toString(), constant = limit["constant"].toString();
        if (!readFile(root, source).simplified().contains(constant)) {
            faults.append(source + ": has no `" + constant + "`; what else says so stands in limits.json");
        }
        for (auto document = documents.begin(); document != documents.end(); ++document) {
            const QString words = document.value().toString();
            if (words.isEmpty() || !readFile(root, document.key()).simplified().contains(words)) {
                faults.append(document.key() + ": no longer says \"" + words + "\", as " + source +
                              " does with `" + constant + '`');
            }
        }
    }
    return faults;
}

}  // namespace checkdocs
