#include "checkreply.h"

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
    for (auto member = members.begin(); member != members.end(); ++member)
        object[member.key()] = *member;
}

QJsonObject listedMembers()
{
    return {{"verified"_L1, true},
            {"found"_L1, true},
            {"realizable"_L1, true},
            {"utilised"_L1, true},
            {"isBlocked"_L1, false},
            {"isOwner"_L1, true},
            {"isTracking"_L1, true},
            {"isGreyGtin"_L1, false},
            {"sold"_L1, false},
            {"grayZone"_L1, false},
            {"errorCode"_L1, 0},
            {"message"_L1, QString()},
            {"ogvs"_L1, QString()},
            {"prVetControl"_L1, false},
            {"packageType"_L1, u"UNIT"_s},
            {"producerInn"_L1, u"7700000016"_s}};
}

QJsonObject unlistedMembers(bool valid)
{
    constexpr int notRegistered = 10;
    constexpr int malformedCode = 1;
    return {{"verified"_L1, false},
            {"found"_L1, false},
            {"realizable"_L1, false},
            {"utilised"_L1, false},
            {"isBlocked"_L1, false},
            {"isOwner"_L1, false},
            {"isTracking"_L1, false},
            {"isGreyGtin"_L1, false},
            {"sold"_L1, false},
            {"grayZone"_L1, false},
            {"message"_L1, QString()},
            {"ogvs"_L1, QString()},
            {"errorCode"_L1, valid ? notRegistered : malformedCode}};
}

QJsonObject contradicted(QJsonObject entry)
{
    entry["isBlocked"_L1] = !entry["isBlocked"_L1].toBool();
    return entry;
}

}  // namespace

QJsonObject onlineEntry(const Goods& goods, const QString& code)
{
    auto entry = identity(code);
    const auto* good = goods.byCode(code);
    merge(entry, good ? listedMembers() : unlistedMembers(entry["valid"_L1].toBool()));
    if (good)
        merge(entry, good->online);
    return entry;
}

QJsonObject offlineEntry(const Goods& own, const Goods& shared, const QString& cis)
{
    auto entry = identity(cis);
    merge(entry, {{"isCheckedOffline"_L1, true}, {"isBlocked"_L1, false}, {"errorCode"_L1, 0}});
    const auto* good = own.byCis(cis);
    if (!good)
        good = shared.byCis(cis);
    if (!good)
        return entry;
    for (const auto key : {"groupIds"_L1, "mrp"_L1, "expireDate"_L1, "productWeight"_L1, "isBlocked"_L1}) {
        if (good->online.contains(key))
            entry[key] = good->online[key];
    }
    merge(entry, good->offline);
    return entry;
}

QJsonArray entries(const QStringList& codes, const Twist& twist,
                   const std::function<QJsonObject(const QString&)>& entryOf)
{
    QJsonArray list;
    for (const auto& code : codes) {
        if (!Twist::names(twist.omit, code))
            list.append(entryOf(code));
    }
    for (const auto& code : codes) {
        if (Twist::names(twist.repeat, code))
            list.append(entryOf(code));
        if (Twist::names(twist.contradict, code))
            list.append(contradicted(entryOf(code)));
    }
    for (const auto& code : twist.add)
        list.append(entryOf(code));
    return list;
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
