#pragma once

#include <QString>

#include "poshost/till/codes.h"
#include "poshost/till/verification.h"
#include "poshost/verbs/cashierscreen.h"

namespace poshost {

[[nodiscard]] Mark markOf(Verdict verdict);
/// What the banner of a code says.
[[nodiscard]] QString titleOf(Verdict verdict, Deal deal);
/// Of a code that the basket holds already.
[[nodiscard]] QString repeatedTitle(Deal deal);

/// Why `text` is no code, and what to do.
[[nodiscard]] QString faultWords(CodeFault fault, const QString& text);

}  // namespace poshost
