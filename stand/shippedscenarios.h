#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

namespace marksim {

/// A scenario that is packed into the program.
struct ShippedScenario
{
    QString name;
    QString shows;         ///< one line for people
    QJsonObject settings;  ///< what a till has to be set to for it, "<section>:<key>": text
    QJsonObject stand;     ///< as Scenario::fromJson() takes it
};

/// All of them, by name.
[[nodiscard]] const QList<ShippedScenario>& shippedScenarios();

}  // namespace marksim
