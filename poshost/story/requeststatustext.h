#pragma once

#include <QString>

#include "result/requeststatus.h"

namespace poshost {

/// What a reply of the operator means, as programs read it: "ok", "server-error", ...
[[nodiscard]] QString className(RequestStatus status);
/// As people read it.
[[nodiscard]] QString classWords(RequestStatus status);

}  // namespace poshost
