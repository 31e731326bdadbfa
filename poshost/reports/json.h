#pragma once

#include <QString>

#include "poshost/till/verification.h"

namespace poshost {

/// The verification as one JSON object on one line, with its line feed.
[[nodiscard]] QString toJson(const Verification& verification);

}  // namespace poshost
