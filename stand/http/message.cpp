#include "stand/http/message.h"

#include <QJsonDocument>
#include <algorithm>
#include <boost/url/src.hpp>

namespace marksim {
namespace {

bool isNamed(const std::pair<std::string, std::string>& header, std::string_view name)
{
    return boost::beast::iequals(header.first, boost::string_view(name.data(), name.size()));
}

}  // namespace

using namespace Qt::StringLiterals;
namespace http = boost::beast::http;

Target targetOf(const Request& request)
{
    const std::string text(request.target());
    const auto url = boost::urls::parse_origin_form(text);
    Target target;
    if (url) {
        target.path = url->path();
        for (const auto& parameter : url->params()) {
            target.query[parameter.key] = parameter.value;
        }
    }
    return target;
}

std::string_view headerOf(const Request& request, std::string_view name)
{
    const auto value = request[boost::string_view(name.data(), name.size())];
    return {value.data(), value.size()};
}

QJsonValue jsonBodyOf(const Request& request)
{
    const auto& body = request.body();
    const auto document =
        QJsonDocument::fromJson(QByteArray::fromRawData(body.data(), static_cast<qsizetype>(body.size())));
    return document.isObject() ? document.object() : QJsonValue(QJsonValue::Undefined);
}

Answer Answer::json(int status, const QJsonObject& object)
{
    return {status, {{"Content-Type", "application/json;charset=UTF-8"}}, compactJson(object)};
}

Answer Answer::refusal(int status, const QString& description)
{
    return json(status, {{"code"_L1, status}, {"description"_L1, description}});
}

void Answer::setHeader(const std::string& name, std::string value)
{
    removeHeader(name);
    headers.emplace_back(name, std::move(value));
}

void Answer::removeHeader(std::string_view name)
{
    std::erase_if(headers, [name](const auto& header) { return isNamed(header, name); });
}

bool Answer::hasHeader(std::string_view name) const
{
    return std::ranges::any_of(headers, [name](const auto& header) { return isNamed(header, name); });
}

std::string Answer::head() const
{
    auto text = "HTTP/1.1 " + std::to_string(status) + ' ' + reasonPhrase(status).toStdString() + "\r\n";
    for (const auto& [name, value] : headers) {
        text.append(name).append(": ").append(value).append("\r\n");
    }
    return text + "\r\n";
}

QString reasonPhrase(int status)
{
    const auto known = http::int_to_status(static_cast<unsigned>(status));
    return known == http::status::unknown ? QString() : QString::fromUtf8(http::obsolete_reason(known));
}

std::string compactJson(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

}  // namespace marksim
