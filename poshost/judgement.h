#pragma once

#include <QStringList>

#include "poshost/verification.h"

namespace poshost {

/// What the cashier does: sells goods or takes them back.
enum class Deal { Sale, Refund };

/// What a check means for a deal.
struct Judgement
{
    bool isAccepted = false;
    QStringList reasons;  ///< why it was refused, for a cashier, in Russian; never empty then
    QStringList remarks;  ///< what else there is to know, in Russian
};

/// Judges the check of one code. Pure.
///
/// The plug-in's answer does not depend on the deal. What is taken back has been sold, so that a sold code is
/// no reason to refuse a refund, nor that it is out of circulation since; every other reason holds for both.
[[nodiscard]] Judgement judge(const Verification& verification, Deal deal);

}  // namespace poshost
