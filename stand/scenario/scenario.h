#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

namespace marksim {

/// How many servers of each kind there can be.
inline constexpr int maxServers = 100;

/// A scenario file, validated. Throws InputError, which names the packed ones when there is no such file.
[[nodiscard]] QJsonObject readScenario(const QString& path);

/// A scenario that is packed into the program.
struct ShippedScenario
{
    QString name;
    QString shows;         ///< one line for people
    QJsonObject settings;  ///< what a till has to be set to for it, "<section>:<key>": text
    QJsonObject stand;     ///< the scenario itself, validated
};

/// All of them, by name.
[[nodiscard]] const QList<ShippedScenario>& shippedScenarios();
/// Null when none has that name.
[[nodiscard]] const ShippedScenario* findShipped(const QString& name);

}  // namespace marksim
