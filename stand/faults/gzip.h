#pragma once

#include "stand/http/wire.h"

#include <string>

namespace marksim {

/// `text` with the filler in it as a gzip stream. Gigabytes of filler cost no time.
[[nodiscard]] std::string gzipped(const std::string& text, const Filler& filler);

}  // namespace marksim
