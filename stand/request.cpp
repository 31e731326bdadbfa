#include "request.h"

#include <QByteArray>
#include <QJsonDocument>
#include <algorithm>

namespace marksim {
namespace {

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool equalIgnoringCase(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

std::string percentDecoded(std::string_view text)
{
    return QByteArray::fromPercentEncoding(QByteArray(text.data(), static_cast<qsizetype>(text.size())))
        .toStdString();
}

void Request::setTarget(std::string text)
{
    target = std::move(text);
    query.clear();
    const auto mark = target.find('?');
    path = percentDecoded(target.substr(0, mark));
    std::string_view rest =
        mark == std::string::npos ? std::string_view() : std::string_view(target).substr(mark + 1);
    while (!rest.empty()) {
        const auto pair = rest.substr(0, rest.find('&'));
        const auto equals = pair.find('=');
        if (!pair.empty())
            query[percentDecoded(pair.substr(0, equals))] =
                equals == std::string_view::npos ? std::string() : percentDecoded(pair.substr(equals + 1));
        rest.remove_prefix(std::min(pair.size() + 1, rest.size()));
    }
}

std::optional<std::string_view> Request::header(std::string_view name) const
{
    const auto found = std::find_if(headers.begin(), headers.end(), [name](const auto& header) {
        return equalIgnoringCase(header.first, name);
    });
    return found == headers.end() ? std::nullopt : std::optional<std::string_view>(found->second);
}

std::optional<QJsonObject> Request::object() const
{
    const auto document =
        QJsonDocument::fromJson(QByteArray::fromRawData(body.data(), static_cast<qsizetype>(body.size())));
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

}  // namespace marksim
