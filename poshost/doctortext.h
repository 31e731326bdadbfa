#pragma once

#include <QString>

#include "doctor/report.h"

namespace poshost {

/// The report for a person, in Russian: finding by finding, then the sites as a table, then the sum.
[[nodiscard]] QString toText(const doctor::Report& report, bool colours);

/// The known keys as a table, in Russian.
[[nodiscard]] QString knownKeysText();

}  // namespace poshost
