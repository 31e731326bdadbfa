#pragma once

#include <QString>

#include "poshost/verification.h"

namespace poshost {

/// How a table is to look.
struct TableStyle
{
    bool colours = false;
    int width = 0;  ///< columns of the terminal, longer codes are shortened to fit; 0: as wide as it gets
};

/// What the result holds about a code beside its verdict (expiry, weight, price), in Russian; may be empty.
[[nodiscard]] QString sideData(const CheckMarkingCodesResult& result, const MarkingCode& code);

/// `text` as it can stand within a line: no control characters, no line ends.
[[nodiscard]] QString oneLine(const QString& text);

/// The verification as a table for a person, in Russian: a line for each requested code in the order asked
/// for, then the sums and where the verdicts came from.
[[nodiscard]] QString toTable(const Verification& verification, const TableStyle& style);

}  // namespace poshost
