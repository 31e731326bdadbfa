#include "siteapi.h"

#include "checkreply.h"

#include <QUuid>
#include <array>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr std::array<Route, 2> siteRoutes = {{{"health", "GET", "/api/v4/true-api/cdn/health/check"},
                                              {"check", "POST", "/api/v4/true-api/codes/check"}}};

std::optional<QStringList> requestedCodes(const Request& request)
{
    const QJsonValue codes = request.object().value_or(QJsonObject()).value("codes"_L1);
    if (!codes.isArray())
        return std::nullopt;
    QStringList list;
    const auto array = codes.toArray();
    for (const auto& code : array) {
        if (!code.isString())
            return std::nullopt;
        list << code.toString();
    }
    return list;
}

}  // namespace

SiteApi::SiteApi(std::vector<std::string> keys, const Goods& goods)
    : keys_(std::move(keys))
    , goods_(goods)
    , inst_(QUuid::createUuid().toString(QUuid::WithoutBraces))
{
}

std::span<const Route> SiteApi::routes() const
{
    return siteRoutes;
}

std::optional<Answer> SiteApi::refusal(const Request& request) const
{
    return keyRefusal(request, keys_);
}

Answer SiteApi::answer(std::string_view method, const Request& request, const Twist& twist)
{
    if (method == "health")
        return Answer::json(200, {{"code"_L1, 0}, {"description"_L1, u"ok"_s}, {"avgTimeMs"_L1, 4}});
    const auto codes = requestedCodes(request);
    if (!codes)
        return Answer::refusal(400, u"the body must be a JSON object with an array of texts \"codes\""_s);
    const auto list =
        entries(*codes, twist, [this](const QString& code) { return onlineEntry(goods_, code); });
    return Answer::json(200, checkReply(list, inst_, u"1.5.4 (27)"_s));
}

}  // namespace marksim
