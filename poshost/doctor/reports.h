#pragma once

#include <QString>

#include "poshost/doctor/report.h"

namespace poshost {

/// The report for a person: finding by finding, then the sites as a table, then the sum.
[[nodiscard]] QString toText(const Report& report, bool colours);

/// What counts or is worth knowing, a line "<file>:<line>: <message>" for each; line 1 for what stands
/// nowhere.
[[nodiscard]] QString toLines(const Report& report);

/// The report as one JSON object on one line, with its line feed.
[[nodiscard]] QString toJson(const Report& report);

}  // namespace poshost
