#pragma once

#include "poshost/standprocess.h"
#include <config/config.h>

namespace poshost {

/// Points the settings at the stand: its operators and keys as [Host] hosts, keys and apiKey, its certificate
/// as [Network] caFile, its modules in place of every LMCHZ* section. A marking section is added when there
/// is none.
void pointAtStand(Config& config, const StandInfo& stand);

}  // namespace poshost
