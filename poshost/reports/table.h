#pragma once

#include <QString>

#include "poshost/terminal/terminal.h"
#include "poshost/till/verification.h"

namespace poshost {

/// What the result holds about a code beside its verdict (expiry, weight, price); may be empty.
[[nodiscard]] QString sideData(const CheckMarkingCodesResult& result, const MarkingCode& code);

/// The verification as a table for a person: a line for each requested code in the order asked
/// for, then the sums and where the verdicts came from.
[[nodiscard]] QString toTable(const Verification& verification, const Style& style);

}  // namespace poshost
