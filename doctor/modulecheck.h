#pragma once

#include <QStringList>

#include "doctor/operatorcheck.h"
#include "doctor/report.h"
#include <config/config.h>

namespace doctor {

/// Asks every enabled module of the settings for its status, with the plug-in's own client. `keys` are those
/// that the till may check with, the usual one first. Adds Report::modules and the findings. Nothing is asked
/// of a module but its status.
void checkModules(const Config& config, const QStringList& keys, const OnStep& onStep, Report& report);

}  // namespace doctor
