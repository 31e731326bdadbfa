#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QMap>
#include <QString>

#include <config/config.h>

namespace poshost {

/// A way for the stand to behave, and what the till's settings have to say to it. The shipped ones are JSON
/// files packed into the program: "shows" (one line), "settings" ("<section>:<key>" to value) and "stand" (a
/// scenario of marksim).
struct ShippedScenario
{
    QString shows;
    QJsonObject settings;
    QByteArray stand;

    void applySettings(Config& config) const;
};

/// All that are shipped, by their names.
[[nodiscard]] QMap<QString, ShippedScenario> shippedScenarios();

/// The one of that name; with an empty name a stand on which everything works. Throws FatalError.
[[nodiscard]] ShippedScenario findScenario(const QString& name);

}  // namespace poshost
