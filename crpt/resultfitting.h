#pragma once

#include <QList>

#include "result/checkmarkingcodesresult.h"
#include <utils/markingcode.h>

/// Fits a parsed result to what the exchange came to (its errorKind()), so that every requested code has a
/// verdict:
///  - None: a code that the reply does not mention fails as NotInReply;
///  - SalePermitted: exactly the requested codes pass;
///  - Unreachable: every requested code fails as Unreachable;
///  - any other kind: the result stays as parsed.
/// In the end passedCodes holds no code that was not requested. Linear in the number of codes, or n log n.
void fitToErrorKind(CheckMarkingCodesResult& result, const QList<MarkingCode>& requested);
