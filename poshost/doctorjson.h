#pragma once

#include <QString>

#include "doctor/report.h"

namespace poshost {

/// The report as one JSON object on one line, with its line feed.
[[nodiscard]] QString toJson(const doctor::Report& report);

/// The known keys as one JSON object on one line, with its line feed.
[[nodiscard]] QString knownKeysJson();

}  // namespace poshost
