#pragma once

#include <QJsonValue>
#include <QString>
#include <QStringList>

#include "poshost/till/verification.h"

namespace poshost {

/// Why a code was refused in a deal, for people who know the system. That the operator did not
/// take the key is said in place of what follows from it.
[[nodiscard]] QStringList statusWords(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal);

/// The same as a cashier understands it: what is the matter, and what to do where something can be done.
[[nodiscard]] QStringList cashierWords(const CheckMarkingCodesResult::CodeStatus& failed, Deal deal);

/// What is said of a code that a refund forgives.
[[nodiscard]] QString forgivenWords();

/// Head of every report of what a test stand has said, with its line feed; empty without a stand.
[[nodiscard]] QString standHead(bool hasStand);

/// "online", "offline" or null.
[[nodiscard]] QJsonValue sourceName(Source source);

/// Why there is no verdict of the operator: by the error kind, or because it did not take the
/// key (by the status of its reply). Empty when there is one.
[[nodiscard]] QString whyNoVerdict(http::ErrorKind errorKind, int httpStatus, Deal deal);

}  // namespace poshost
