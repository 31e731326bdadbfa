#pragma once

#include "stand/goods/goods.h"

#include <QJsonArray>
#include <QJsonObject>
#include <optional>

namespace marksim {

/// The codes of a check: texts, or with a `member` objects that carry the text in it. Empty when the array is
/// missing or holds anything else.
[[nodiscard]] std::optional<QStringList> requestedCodes(const QJsonValue& array, QLatin1String member = {});

/// The operator's entry for one code as it was sent; a code that is not listed is not found.
[[nodiscard]] QJsonObject onlineEntry(const Goods& goods, const QString& code);

/// A local module's entry for one code or identifying part. `own` are goods of that module alone, which come
/// before the shared ones.
[[nodiscard]] QJsonObject offlineEntry(const Goods& own, const Goods& shared, const QString& cis);

/// "code", "description", "codes" and the members that name the request and who answered it.
[[nodiscard]] QJsonObject checkReply(const QJsonArray& entries, const QString& inst, const QString& version);

}  // namespace marksim
