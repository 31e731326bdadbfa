#pragma once

#include <QList>

#include "result/checkmarkingcodesresult.h"
#include <utils/markingcode.h>

/// Fits a parsed result to what the exchange came to (its errorKind()):
///  - None: a requested code that the reply does not mention fails as NotInReply;
///  - SalePermitted: exactly the requested codes pass;
///  - Unreachable: exactly the requested codes fail, as Unreachable;
///  - NoToken: the result stays as parsed, without a verdict on what the reply does not mention.
/// In the end passedCodes holds no code that was not requested. One that was not requested and is refused
/// stays in failedCodes, and isSuccess() is false. Linear in the number of codes, or n log n.
void fitToErrorKind(CheckMarkingCodesResult& result, const QList<MarkingCode>& requested);
