#pragma once

#include <QJsonObject>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace marksim {

/// One HTTP reply before it is put on the wire.
struct Answer
{
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;  ///< beyond Date, Server and the framing
    std::string body;

    [[nodiscard]] static Answer json(int status, const QJsonObject& object);
    /// {"code": code, "description": text}, the operator's form of a refusal.
    [[nodiscard]] static Answer refusal(int status, int code, const QString& description);
    [[nodiscard]] static Answer refusal(int status, const QString& description)
    {
        return refusal(status, status, description);
    }
};

/// The reason phrase of a status, empty for one that has none.
[[nodiscard]] std::string_view reasonPhrase(int status);

}  // namespace marksim
