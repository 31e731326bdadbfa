#pragma once

#include <QJsonValue>
#include <QString>
#include <QStringList>

#include "poshost/verification.h"

namespace poshost {

/// Names of the flags that are set, as the result's enumeration has them, in the order of their values.
[[nodiscard]] QStringList statusNames(CheckMarkingCodesResult::Status status);

/// The same in words for people who know the system, in Russian.
[[nodiscard]] QStringList statusWords(CheckMarkingCodesResult::Status status);

/// The same as a cashier understands it: what is the matter, and what to do where something can be done.
[[nodiscard]] QStringList cashierWords(CheckMarkingCodesResult::Status status);

/// "online", "offline" or null.
[[nodiscard]] QJsonValue sourceName(Source source);

/// What an error kind means for the sale, in Russian; empty for ErrorKind::None.
[[nodiscard]] QString errorKindWords(http::ErrorKind kind);

}  // namespace poshost
