#include "poshost/reports/json.h"

#include <QJsonObject>

#include "poshost/reports/explanationtext.h"
#include "poshost/reports/statustext.h"
#include "poshost/terminal/jsonvalues.h"
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

QJsonObject describeNotification(const Notification& notification)
{
    return {{QStringLiteral("id"), notification.id},
            {QStringLiteral("textId"), notification.textId},
            {QStringLiteral("text"), notification.text}};
}

}  // namespace

QString toJson(const Verification& verification)
{
    const Result& result = verification.result;
    QJsonObject object = {
        {QStringLiteral("triggerResult"), orNull(verification.triggerResult)},
        {QStringLiteral("source"), sourceName(verification.source())},
        {QStringLiteral("success"), verification.isServed() && result.isSuccess()},
        {QStringLiteral("errorKind"), int(result.errorKind())},
        {QStringLiteral("httpStatus"), result.status()},
        {QStringLiteral("url"), shownAddress(result.url())},
        {QStringLiteral("errorText"), result.errorText().ru()},
        {QStringLiteral("passedCodes"), arrayOf(result.passedCodes, &MarkingCode::toString)},
        {QStringLiteral("failedCodes"), perCode(result.failedCodes, describeStatus)},
        {QStringLiteral("requestInfos"), perCode(result.requestInfos, describeRequest)},
        {QStringLiteral("expireDates"), perCode(result.expireDates, describeDate)},
        {QStringLiteral("productWeights"), perCode(result.productWeights, describeWeight)},
        {QStringLiteral("mrps"), perCode(result.mrps, describeMrp)},
        {QStringLiteral("notifications"), arrayOf(verification.notifications, describeNotification)},
        {QStringLiteral("elapsedMs"), qint64(verification.elapsed.count())},
    };
    if (verification.story) {
        object.insert(QStringLiteral("explain"),
                      explanationJson(*verification.story, decisionOf(verification)));
    }
    return jsonLine(object, verification.stand);
}

}  // namespace poshost
