#pragma once

#include <optional>

#include <QString>
#include <QStringList>

#include "poshost/terminal/terminal.h"
#include "poshost/till/codes.h"
#include "poshost/till/verification.h"
#include "poshost/verbs/basket.h"

namespace poshost {

/// How a verdict looks from two metres away.
enum class Mark { Good, Bad, Attention };
[[nodiscard]] Mark markOf(Verdict verdict);

/// A large plain verdict: a title between two bars, the lines below it. Bars are coloured where
/// the style says so, and differ without colours too.
[[nodiscard]] QString banner(Mark mark, const QString& title, const QStringList& lines, const Style& style);

/// What the banner of a code says.
[[nodiscard]] QString titleOf(Verdict verdict, Deal deal);
/// Of a code that the basket holds already.
[[nodiscard]] QString repeatedTitle(Deal deal);

/// Why `text` is no code, and what to do.
[[nodiscard]] QString faultWords(CodeFault fault, const QString& text);

/// "В чеке: 2" or "К возврату: 2", "In the basket: 2" or "To take back: 2".
[[nodiscard]] QString basketSum(const Basket& basket, Deal deal);
/// The goods of a basket, one a line, below the sum.
[[nodiscard]] QString basketList(const Basket& basket, Deal deal);

/// What can be typed in place of a code.
enum class CashierCommand { Quit, Refund, Basket, Help };

/// The command that `text` is, in English or in Russian and in any letter case; nothing for other texts.
[[nodiscard]] std::optional<CashierCommand> commandOf(const QString& text);
/// One line for each command.
[[nodiscard]] QString commandHelp();

}  // namespace poshost
