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

/// The verification as a table for a person, in Russian: a line for each requested code in the order asked
/// for, then the sums and where the verdicts came from.
[[nodiscard]] QString toTable(const Verification& verification, const TableStyle& style);

}  // namespace poshost
