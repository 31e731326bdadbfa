#include "poshost/reports/json.h"

#include <algorithm>

#include <QJsonArray>
#include <QJsonObject>

#include "poshost/reports/explanationtext.h"
#include "poshost/reports/statustext.h"
#include "poshost/terminal/output.h"
#include "result/statusnames.h"

namespace poshost {

namespace {

using Result = CheckMarkingCodesResult;

/// An array with one object a code; `describe` adds to it what the map holds for the code.
template <class Value, class Describe>
QJsonArray perCode(const QMap<MarkingCode, Value>& map, Describe describe)
{
    QJsonArray array;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        QJsonObject object = describe(entry.value());
        object.insert(QLatin1String("code"), entry.key().toString());
        array.append(object);
    }
    return array;
}

QJsonObject describeStatus(const Result::CodeStatus& failed)
{
    return {
        {QStringLiteral("flags"), qint64(quint32(failed.status))},
        {QStringLiteral("status"), QJsonArray::fromStringList(statusNames(failed.status))},
        {QStringLiteral("message"), failed.message},
        {QStringLiteral("ogvs"), failed.ogvs},
        {QStringLiteral("errorCode"), failed.errorCode},
    };
}

QJsonObject describeRequest(const Result::RequestInfo& request)
{
    return {
        {QStringLiteral("reqId"), request.reqId},
        {QStringLiteral("reqTimestamp"), request.reqTimestamp},
        {QStringLiteral("inst"), request.inst},
        {QStringLiteral("version"), request.version},
    };
}

QJsonObject describeDate(const QDateTime& date)
{
    return {{QStringLiteral("date"),
             date.isValid() ? QJsonValue(date.toString(Qt::ISODateWithMs)) : QJsonValue()}};
}

QJsonObject describeWeight(int weight)
{
    return {{QStringLiteral("weight"), weight}};
}

QJsonObject describeMrp(const Result::MrpInfo& mrp)
{
    return {{QStringLiteral("groupId"), mrp.groupId}, {QStringLiteral("mrp"), mrp.mrp}};
}

QJsonArray passedCodes(const QList<MarkingCode>& codes)
{
    QJsonArray array;
    std::transform(codes.begin(), codes.end(), std::back_inserter(array),
                   [](const MarkingCode& code) { return code.toString(); });
    return array;
}

QJsonArray notifications(const QList<Notification>& sent)
{
    QJsonArray array;
    for (const Notification& notification : sent) {
        array.append(QJsonObject{{QStringLiteral("id"), notification.id},
                                 {QStringLiteral("textId"), notification.textId},
                                 {QStringLiteral("text"), notification.text}});
    }
    return array;
}

}  // namespace

QString toJson(const Verification& verification)
{
    const Result& result = verification.result;
    QJsonObject object = {
        {QStringLiteral("triggerResult"),
         verification.triggerResult ? QJsonValue(*verification.triggerResult) : QJsonValue()},
        {QStringLiteral("source"), sourceName(verification.source())},
        {QStringLiteral("success"), verification.isServed() && result.isSuccess()},
        {QStringLiteral("errorKind"), int(result.errorKind())},
        {QStringLiteral("httpStatus"), result.status()},
        {QStringLiteral("url"), shownAddress(result.url())},
        {QStringLiteral("errorText"), result.errorText().ru()},
        {QStringLiteral("passedCodes"), passedCodes(result.passedCodes)},
        {QStringLiteral("failedCodes"), perCode(result.failedCodes, describeStatus)},
        {QStringLiteral("requestInfos"), perCode(result.requestInfos, describeRequest)},
        {QStringLiteral("expireDates"), perCode(result.expireDates, describeDate)},
        {QStringLiteral("productWeights"), perCode(result.productWeights, describeWeight)},
        {QStringLiteral("mrps"), perCode(result.mrps, describeMrp)},
        {QStringLiteral("notifications"), notifications(verification.notifications)},
        {QStringLiteral("elapsedMs"), qint64(verification.elapsed.count())},
    };
    if (verification.story) {
        object.insert(QStringLiteral("explain"),
                      explanationJson(*verification.story, decisionOf(verification)));
    }
    if (verification.stand) {
        object.insert(QStringLiteral("stand"), true);
    }
    return jsonLine(object);
}

}  // namespace poshost
