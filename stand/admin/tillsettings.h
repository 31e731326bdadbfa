#pragma once

#include <QJsonObject>
#include <QString>

namespace marksim {

/// Settings of a till that sells against this stand, a file for poshost --config. `addresses` are in the form
/// of the ready line.
[[nodiscard]] QString tillSettings(const QJsonObject& addresses);

}  // namespace marksim
