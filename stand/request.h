#pragma once

#include <QJsonObject>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace marksim {

/// One HTTP request as it came, whole.
struct Request
{
    std::string verb;
    std::string target;                                     ///< path and query as sent
    std::string path;                                       ///< without the query
    std::map<std::string, std::string, std::less<>> query;  ///< percent-decoded
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    bool keepAlive = true;

    /// Splits `text` into target, path and query.
    void setTarget(std::string text);
    /// Value of the first header of that name, case-insensitive; null data when there is none.
    [[nodiscard]] std::optional<std::string_view> header(std::string_view name) const;
    /// The body when it is a JSON object.
    [[nodiscard]] std::optional<QJsonObject> object() const;
};

[[nodiscard]] std::string percentDecoded(std::string_view text);
[[nodiscard]] bool equalIgnoringCase(std::string_view left, std::string_view right);

}  // namespace marksim
