#include "stand/apis/api.h"
#include "stand/apis/checkreply.h"
#include "stand/faults/codelist.h"

#include <QUuid>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr std::string_view healthPath = "/api/v4/true-api/cdn/health/check";

std::optional<Answer> keyRefusal(const Request& request, const QStringList& keys)
{
    const auto key = headerOf(request, "X-API-KEY");
    if (keys.contains(QString::fromUtf8(key))) {
        return std::nullopt;
    }
    return Answer::refusal(401, key.empty() ? u"Unauthorized: the header X-API-KEY is missing"_s
                                            : u"Unauthorized: the token is unknown or has expired"_s);
}

Route health(int averageTimeMs)
{
    const QJsonObject reply{{"code"_L1, 0}, {"description"_L1, u"ok"_s}, {"avgTimeMs"_L1, averageTimeMs}};
    return {"health"_L1, "GET", healthPath,
            [reply](const Request&, const QJsonObject&) { return Answer::json(200, reply); }};
}

Answer listSites(const QStringList& sites)
{
    QJsonArray hosts;
    for (const auto& site : sites) {
        hosts.append(QJsonObject{{"host"_L1, site}});
    }
    return Answer::json(200, {{"code"_L1, 0}, {"description"_L1, u"ok"_s}, {"hosts"_L1, hosts}});
}

Answer check(const Request& request, const QJsonObject& answers, const Goods& goods, const QString& inst)
{
    const auto codes = requestedCodes(jsonBodyOf(request)["codes"_L1]);
    if (!codes) {
        return Answer::refusal(400, u"the body must be a JSON object with an array of texts \"codes\""_s);
    }
    const auto list =
        editedEntries(*codes, answers, [&goods](const QString& code) { return onlineEntry(goods, code); });
    return Answer::json(200, checkReply(list, inst, u"1.5.4 (27)"_s));
}

}  // namespace

Api operatorApi(const QStringList& keys, const std::function<QStringList()>& sites)
{
    // Whoever only pings an operator has no key at hand; a wrong one is refused all the same.
    const auto refusal = [keys](const Request& request) {
        const bool isPing = targetOf(request).path.ends_with(healthPath) && request.count("X-API-KEY") == 0;
        return isPing ? std::nullopt : keyRefusal(request, keys);
    };
    return {{{"info"_L1, "GET", "/api/v4/true-api/cdn/info",
              [sites](const Request&, const QJsonObject&) { return listSites(sites()); }},
             health(7)},
            refusal};
}

Api siteApi(const QStringList& keys, const Goods& goods)
{
    const auto inst = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return {{health(4),
             {"check"_L1, "POST", "/api/v4/true-api/codes/check",
              [inst, &goods](const Request& request, const QJsonObject& answers) {
                  return check(request, answers, goods, inst);
              }}},
            [keys](const Request& request) { return keyRefusal(request, keys); }};
}

}  // namespace marksim
