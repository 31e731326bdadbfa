#pragma once

#include "doctor/report.h"
#include "poshost/commandline.h"

namespace poshost {

/// Examines the settings that the command line names, and what they name. Nothing is changed by it, and no
/// file is written. A settings file that cannot be understood is a finding; one that is not there throws
/// Failure, and so does a signal.
[[nodiscard]] doctor::Report examine(const Options& options);

}  // namespace poshost
