#pragma once

#include <QString>

namespace marksim {

/// What the operator reads out of the text of one marking code.
struct CodeParts
{
    QString text;  ///< the code without a leading FNC1 (`]d2`, `]C1`, `]Q3` or GS), GS characters inside kept
    QString
        cis;  ///< identifying part: 01 + GTIN + 21 + serial, GTIN + serial of a tobacco pack, else the text
    QString gtin;        ///< 14 digits, empty when the code carries none
    bool valid = false;  ///< the structure is known and the GTIN's check digit is right
};

[[nodiscard]] CodeParts readCode(const QString& code);

}  // namespace marksim
