#pragma once

#include <QString>
#include <QStringList>

#include "result/checkmarkingcodesresult.h"

namespace poshost {

/// Names of the flags that are set, as the result's enumeration has them, in the order of their values.
[[nodiscard]] QStringList statusNames(CheckMarkingCodesResult::Status status);

/// The same in words for a cashier, in Russian.
[[nodiscard]] QStringList statusWords(CheckMarkingCodesResult::Status status);

/// What an error kind means for the sale, in Russian; empty for ErrorKind::None.
[[nodiscard]] QString errorKindWords(http::ErrorKind kind);

}  // namespace poshost
