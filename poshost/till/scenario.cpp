#include "poshost/till/scenario.h"

#include <algorithm>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include "poshost/terminal/fatalerror.h"

namespace poshost {

namespace {

ShippedScenario parse(const QString& name, const QByteArray& content)
{
    const QJsonObject object = QJsonDocument::fromJson(content).object();
    const QJsonObject settings = object.value(QLatin1String("settings")).toObject();
    ShippedScenario scenario;
    scenario.name = name;
    scenario.shows = object.value(QLatin1String("shows")).toString();
    scenario.stand = QJsonDocument(object.value(QLatin1String("stand")).toObject()).toJson();
    for (auto setting = settings.begin(); setting != settings.end(); ++setting) {
        scenario.settings.insert(setting.key(), setting.value().toString());
    }
    return scenario;
}

}  // namespace

void ShippedScenario::applySettings(Config& config) const
{
    for (auto setting = settings.begin(); setting != settings.end(); ++setting) {
        config.setValue(setting.key(), setting.value());
    }
}

QList<ShippedScenario> shippedScenarios()
{
    QList<ShippedScenario> scenarios;
    const QDir folder(QStringLiteral(":/scenarios"));
    for (const QFileInfo& entry : folder.entryInfoList(QDir::Files)) {
        QFile file(entry.filePath());
        if (file.open(QIODevice::ReadOnly)) {
            scenarios.append(parse(entry.completeBaseName(), file.readAll()));
        }
    }
    std::sort(
        scenarios.begin(), scenarios.end(),
        [](const ShippedScenario& left, const ShippedScenario& right) { return left.name < right.name; });
    return scenarios;
}

ShippedScenario findScenario(const QString& name)
{
    if (name.isEmpty()) {
        return {};
    }
    for (const ShippedScenario& scenario : shippedScenarios()) {
        if (scenario.name == name) {
            return scenario;
        }
    }
    refuse(QStringLiteral("no scenario \"%1\"; \"poshost scenarios\" lists them").arg(name));
}

}  // namespace poshost
