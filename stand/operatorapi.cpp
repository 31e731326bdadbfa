#include "operatorapi.h"

#include <QJsonArray>
#include <array>

namespace marksim {

using namespace Qt::StringLiterals;

namespace {

constexpr std::string_view healthPath = "/api/v4/true-api/cdn/health/check";

constexpr std::array<Route, 2> operatorRoutes = {
    {{"info", "GET", "/api/v4/true-api/cdn/info"}, {"health", "GET", healthPath}}};

}  // namespace

OperatorApi::OperatorApi(std::vector<std::string> keys, std::function<QStringList()> sites)
    : keys_(std::move(keys))
    , sites_(std::move(sites))
{
}

std::span<const Route> OperatorApi::routes() const
{
    return operatorRoutes;
}

std::optional<Answer> OperatorApi::refusal(const Request& request) const
{
    // Whoever only pings an operator has no key at hand; a wrong one is refused all the same.
    const bool isPing = request.path == healthPath && !request.header("X-API-KEY");
    return isPing ? std::nullopt : keyRefusal(request, keys_);
}

Answer OperatorApi::answer(std::string_view method, const Request&, const Twist&)
{
    QJsonObject reply{{"code"_L1, 0}, {"description"_L1, u"ok"_s}};
    if (method == "health") {
        reply["avgTimeMs"_L1] = 7;
        return Answer::json(200, reply);
    }
    QJsonArray hosts;
    const auto sites = sites_();
    for (const auto& site : sites)
        hosts.append(QJsonObject{{"host"_L1, site}});
    reply["hosts"_L1] = hosts;
    return Answer::json(200, reply);
}

}  // namespace marksim
