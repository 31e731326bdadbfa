#pragma once

#include "doctor/report.h"
#include <config/config.h>

namespace doctor {

/// Looks whether every section and key is one that is read, and every value one that makes sense. Adds the
/// findings and Report::markingSections. Nothing is asked over the network, nothing is changed.
void checkSettings(const Config& config, Report& report);

}  // namespace doctor
