#pragma once

#include "poshost/commandline.h"

namespace poshost {

/// Does what the command line asks for and returns the exit status. Throws Failure.
[[nodiscard]] int run(const Options& options);

}  // namespace poshost
