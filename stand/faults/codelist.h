#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <functional>

namespace marksim {

/// The entries for `codes` in their order, changed as a behaviour's "answers" says (validated, or empty);
/// `entryOf` makes the entry of a code. Codes are named in full or by their identifying part; "*" means every
/// code of the request.
[[nodiscard]] QJsonArray editedEntries(const QStringList& codes, const QJsonObject& answers,
                                       const std::function<QJsonObject(const QString&)>& entryOf);

/// The entries in parts of about the same size, as many as "groups" says: the "results" of a local module.
[[nodiscard]] QList<QJsonArray> grouped(const QJsonArray& entries, const QJsonObject& answers);

}  // namespace marksim
