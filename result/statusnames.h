#pragma once

#include <QStringList>

#include "result/checkmarkingcodesresult.h"

/// Names of the flags that are set, as the enumeration has them, in the order of their values. Pure.
[[nodiscard]] QStringList statusNames(CheckMarkingCodesResult::Status status);

/// The flags of these names; what is none is left out. Pure.
[[nodiscard]] CheckMarkingCodesResult::Status statusFromNames(const QStringList& names);
