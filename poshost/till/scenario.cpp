#include "poshost/till/scenario.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include "poshost/terminal/fatalerror.h"

namespace poshost {

namespace {

ShippedScenario parse(const QByteArray& content)
{
    const QJsonObject object = QJsonDocument::fromJson(content).object();
    return {.shows = object.value(QLatin1String("shows")).toString(),
            .settings = object.value(QLatin1String("settings")).toObject(),
            .stand = QJsonDocument(object.value(QLatin1String("stand")).toObject()).toJson()};
}

}  // namespace

void ShippedScenario::applySettings(Config& config) const
{
    for (auto setting = settings.begin(); setting != settings.end(); ++setting) {
        config.setValue(setting.key(), setting.value().toString());
    }
}

QMap<QString, ShippedScenario> shippedScenarios()
{
    QMap<QString, ShippedScenario> scenarios;
    const QDir folder(QStringLiteral(":/scenarios"));
    for (const QFileInfo& entry : folder.entryInfoList(QDir::Files)) {
        QFile file(entry.filePath());
        if (file.open(QIODevice::ReadOnly)) {
            scenarios.insert(entry.completeBaseName(), parse(file.readAll()));
        }
    }
    return scenarios;
}

ShippedScenario findScenario(const QString& name)
{
    if (name.isEmpty()) {
        return {};
    }
    const QMap<QString, ShippedScenario> scenarios = shippedScenarios();
    const auto found = scenarios.find(name);
    if (found == scenarios.end()) {
        refuse(QStringLiteral("no scenario \"%1\"; \"poshost scenarios\" lists them").arg(name));
    }
    return *found;
}

}  // namespace poshost
