#pragma once

#include <config/config.h>

#include "poshost/doctor/asking.h"
#include "poshost/doctor/report.h"

namespace poshost {

/// Asks every server of [Host] hosts for its list of sites with every key, and probes the sites, in the
/// plug-in's order. Adds Report::hosts, Report::sites and the findings. Addresses that cannot be asked are
/// passed over.
void checkOperator(const Config& config, const OnStep& onStep, Report& report);

}  // namespace poshost
