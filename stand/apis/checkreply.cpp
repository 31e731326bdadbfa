#include "stand/apis/checkreply.h"

#include "stand/scenario/schema.h"

#include <QDateTime>
#include <QUuid>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

QJsonObject identity(const QString& sent)
{
    const auto parts = readCode(sent);
    return {{"cis"_L1, sent},
            {"printView"_L1, parts.cis},
            {"gtin"_L1, parts.gtin},
            {"valid"_L1, parts.valid},
            {"groupIds"_L1, QJsonArray()}};
}

void merge(QJsonObject& object, const QJsonObject& members)
{
    for (auto member = members.begin(); member != members.end(); ++member) {
        object[member.key()] = *member;
    }
}

/// What an entry says of a code besides its identity: "listed", "unlisted" and "malformed" online, "offline"
/// by a local module.
QJsonObject usualMembers(const QString& kind)
{
    static const auto entries = parseJson(readFile(u":/data/entries.json"_s), u"entries"_s);
    return entries[kind].toObject();
}

}  // namespace

std::optional<QStringList> requestedCodes(const QJsonValue& array, QLatin1String member)
{
    QStringList codes;
    const auto elements = array.toArray();
    for (const auto& element : elements) {
        const auto code = member.isEmpty() ? element : element[member];
        if (!code.isString()) {
            return std::nullopt;
        }
        codes << code.toString();
    }
    return array.isArray() ? std::optional(codes) : std::nullopt;
}

QJsonObject onlineEntry(const Goods& goods, const QString& code)
{
    auto entry = identity(code);
    if (const auto* good = goods.byCode(code)) {
        merge(entry, usualMembers(u"listed"_s));
        merge(entry, good->online);
    } else {
        merge(entry, usualMembers(entry["valid"_L1].toBool() ? u"unlisted"_s : u"malformed"_s));
    }
    return entry;
}

QJsonObject offlineEntry(const Goods& own, const Goods& shared, const QString& cis)
{
    auto entry = identity(cis);
    merge(entry, usualMembers(u"offline"_s));
    const auto* good = own.byCis(cis) ? own.byCis(cis) : shared.byCis(cis);
    if (!good) {
        return entry;
    }
    for (const auto key : {"groupIds"_L1, "mrp"_L1, "expireDate"_L1, "productWeight"_L1, "isBlocked"_L1}) {
        if (good->online.contains(key)) {
            entry[key] = good->online[key];
        }
    }
    merge(entry, good->offline);
    return entry;
}

QJsonObject checkReply(const QJsonArray& entries, const QString& inst, const QString& version)
{
    return {{"code"_L1, 0},
            {"description"_L1, u"ok"_s},
            {"codes"_L1, entries},
            {"reqId"_L1, QUuid::createUuid().toString(QUuid::WithoutBraces)},
            {"reqTimestamp"_L1, QDateTime::currentMSecsSinceEpoch()},
            {"inst"_L1, inst},
            {"version"_L1, version}};
}

}  // namespace marksim
