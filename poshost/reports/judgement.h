#pragma once

#include <QStringList>

#include "poshost/till/verification.h"

namespace poshost {

/// What the check of one code means for a cashier.
struct Judgement
{
    Verdict verdict = Verdict::Missing;
    QStringList reasons;  ///< why it was refused; never empty then
    QStringList remarks;  ///< what else there is to know
};

/// Of the verification's first code. Pure.
[[nodiscard]] Judgement judge(const Verification& verification);

}  // namespace poshost
