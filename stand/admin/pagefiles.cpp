#include "stand/admin/pagefiles.h"

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <array>
#include <boost/asio/ip/address.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/url/parse.hpp>

namespace marksim {

using namespace Qt::StringLiterals;

std::optional<Answer> pageFile(const std::string& path)
{
    static const QMap<QString, std::string> types = {{u"html"_s, "text/html;charset=UTF-8"},
                                                     {u"css"_s, "text/css;charset=UTF-8"},
                                                     {u"svg"_s, "image/svg+xml"},
                                                     {u"json"_s, "application/json;charset=UTF-8"},
                                                     {u"js"_s, "text/javascript;charset=UTF-8"}};
    static const QRegularExpression fileName(u"^/([a-z]+\\.([a-z]+))$"_s);
    const auto match = fileName.match(path == "/" ? u"/index.html"_s : QString::fromStdString(path));
    QFile file(u":/page/"_s + match.captured(1));
    if (!types.contains(match.captured(2)) || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return Answer{200, {{"Content-Type", types[match.captured(2)]}}, file.readAll().toStdString()};
}

void addBrowserPolicy(Answer& answer)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 5> headers = {{
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
         "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; "
         "trusted-types 'none'"},
        {"X-Content-Type-Options", "nosniff"},
        {"Cache-Control", "no-store"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Referrer-Policy", "no-referrer"},
    }};
    answer.headers.insert(answer.headers.end(), headers.begin(), headers.end());
}

bool isForeign(const Request& request, const std::string& publicHost)
{
    const std::string host(headerOf(request, "Host"));
    if (request.count("Origin") != 0 && headerOf(request, "Origin") != "http://" + host) {
        return true;
    }
    const auto authority = boost::urls::parse_authority(host);
    const auto type = authority ? authority->host_type() : boost::urls::host_type::none;
    const bool isAddress = type == boost::urls::host_type::ipv4 || type == boost::urls::host_type::ipv6;
    const auto isOwn = [&](const std::string& name) {
        return authority && boost::beast::iequals(authority->host(), name);
    };
    return !isAddress && !isOwn("localhost") && (publicHost.empty() || !isOwn(publicHost));
}

}  // namespace marksim
