#pragma once

#include <QJsonObject>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace marksim {

/// One HTTP request as it came, whole.
using Request = boost::beast::http::request<boost::beast::http::string_body>;

/// What a request is for, percent-decoded.
struct Target
{
    std::string path;  ///< without the query; empty when the request's target is not a path
    std::map<std::string, std::string> query;
};

[[nodiscard]] Target targetOf(const Request& request);
[[nodiscard]] std::string_view headerOf(const Request& request, std::string_view name);
/// The body when it is a JSON object, else undefined.
[[nodiscard]] QJsonValue jsonBodyOf(const Request& request);

/// One HTTP reply before it is put on the wire.
struct Answer
{
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;  ///< beyond Date, Server and the framing
    std::string body;

    [[nodiscard]] static Answer json(int status, const QJsonObject& object);
    /// {"code": status, "description": text}, the operator's form of a refusal.
    [[nodiscard]] static Answer refusal(int status, const QString& description);

    /// In place of all headers of that name.
    void setHeader(const std::string& name, std::string value);
    void removeHeader(std::string_view name);
    [[nodiscard]] bool hasHeader(std::string_view name) const;
    /// Status line, headers and the empty line behind them.
    [[nodiscard]] std::string head() const;
};

/// The reason phrase of a status, empty for one that has none.
[[nodiscard]] QString reasonPhrase(int status);

[[nodiscard]] std::string compactJson(const QJsonObject& object);

}  // namespace marksim
