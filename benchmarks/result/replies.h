#pragma once

#include <QByteArray>
#include <QList>

#include "result/checkmarkingcodesresult.h"
#include <utils/markingcode.h>

namespace bench {

/// Milk: GTIN, serial of the number, cryptographic tail.
[[nodiscard]] MarkingCode codeOf(int number);
[[nodiscard]] QList<MarkingCode> codesOf(int count, int first = 0);

/// A site's reply that passes these codes, with every field that an operator gives for goods of that kind.
[[nodiscard]] QByteArray replyFor(const QList<MarkingCode>& codes);
/// The same, but it refuses them.
[[nodiscard]] QByteArray refusalFor(const QList<MarkingCode>& codes);

/// A complete reply with status 200.
[[nodiscard]] http::Response responseOf(const QByteArray& body);
[[nodiscard]] CheckMarkingCodesResult resultOf(const QByteArray& body);

}  // namespace bench
