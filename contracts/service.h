#pragma once

#include <QString>

namespace contracts {

/// The number of the verification service that `name` names, in any letter case: 1 "crpt", 2 "turon", 3
/// "esm"; 0 for any other text. The views' enumerations have these values.
[[nodiscard]] int serviceNumber(const QString& name);

}  // namespace contracts
