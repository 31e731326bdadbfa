#pragma once

#include "behaviour.h"
#include "goods.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <functional>

namespace marksim {

/// The operator's entry for one code as it was sent; a code that is not listed is not found.
[[nodiscard]] QJsonObject onlineEntry(const Goods& goods, const QString& code);

/// A local module's entry for one code or identifying part. `own` are goods of that module alone, which come
/// before the shared ones.
[[nodiscard]] QJsonObject offlineEntry(const Goods& own, const Goods& shared, const QString& cis);

/// The entries for `codes` in their order, then what `twist` adds.
[[nodiscard]] QJsonArray entries(const QStringList& codes, const Twist& twist,
                                 const std::function<QJsonObject(const QString&)>& entryOf);

/// "code", "description", "codes" and the members that name the request and who answered it.
[[nodiscard]] QJsonObject checkReply(const QJsonArray& entries, const QString& inst, const QString& version);

}  // namespace marksim
