#pragma once

#include <functional>

#include <QString>
#include <QStringList>

#include "doctor/report.h"

namespace doctor {

/// Called with what is about to be done, in Russian, before every step that takes time. What it throws ends
/// the examination.
using OnStep = std::function<void(const QString&)>;

/// Asks every host for its list of sites with every key, and probes the sites, with the plug-in's own client
/// and in its order. Adds Report::hosts, Report::sites and the findings. Every request has the time limit of
/// the settings.
void checkOperator(const QStringList& hosts, const QStringList& keys, const OnStep& onStep, Report& report);

}  // namespace doctor
