#pragma once

#include <QJsonValue>
#include <QStringList>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace marksim {

/// One change to a JSON document: the path to a member (an array's element by its number, all of them by "*")
/// and its new value, none to remove it.
using JsonEdit = std::pair<QStringList, std::optional<QJsonValue>>;

/// `json` with the edits made in order. Paths that lead nowhere change nothing; a text that is no JSON object
/// is given back as it is.
[[nodiscard]] std::string edited(const std::string& json, const std::vector<JsonEdit>& edits);

}  // namespace marksim
