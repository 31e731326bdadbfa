#pragma once

#include <config/config.h>

#include "poshost/doctor/asking.h"
#include "poshost/doctor/report.h"

namespace poshost {

/// Adds every module of the settings to Report::modules, asked for nothing.
void describeModules(const Config& config, Report& report);

/// Asks every module of the report that the plug-in would use for its status, and for nothing else. Fills in
/// what it says and adds the findings.
void askModules(const Config& config, const OnStep& onStep, Report& report);

}  // namespace poshost
