#include "result/checkmarkingcodesresult.h"

#include <algorithm>

#include <QJsonArray>
#include <QLatin1String>

#include <utils/currenttime.h>

namespace {

using Result = CheckMarkingCodesResult;

/// A field that sets a flag by one of its two values; missing or of another type, it sets none.
struct FlagField
{
    QLatin1String name;
    Result::EStatus flag;
    bool flaggedWhen;
};

constexpr FlagField blockedField = {QLatin1String("isBlocked"), Result::Blocked, true};
constexpr FlagField grayZoneField = {QLatin1String("grayZone"), Result::GrayZoneNotRealizable, true};
/// All that apply are set; their order has no meaning.
constexpr FlagField flagFields[] = {
    blockedField,
    {QLatin1String("isGreyGtin"), Result::GreyGtin, true},
    {QLatin1String("found"), Result::NotFound, false},
    {QLatin1String("realizable"), Result::NotRealizable, false},
    {QLatin1String("utilised"), Result::NotUtilised, false},
    {QLatin1String("valid"), Result::NotValid, false},
    {QLatin1String("verified"), Result::NotVerified, false},
    {QLatin1String("sold"), Result::Sold, true},
    {QLatin1String("isOwner"), Result::NotOwner, false},
    {QLatin1String("isTracking"), Result::NotTracking, false},
};

/// Null is false.
Result::Status flagOf(const QJsonObject& entry, const FlagField& field)
{
    const QJsonValue value = entry.value(field.name);
    const bool isTold = value.isBool() || value.isNull();
    return isTold && value.toBool() == field.flaggedWhen ? field.flag : Result::Status();
}

/// Nothing when it is missing, invalid when it is no date.
std::optional<QDateTime> expireDateOf(const QJsonObject& entry)
{
    const QJsonValue date = entry.value(QLatin1String("expireDate"));
    return date.isUndefined() ? std::optional<QDateTime>()
                              : QDateTime::fromString(date.toString(), Qt::ISODateWithMs);
}

/// Nothing when it is missing.
std::optional<int> productWeightOf(const QJsonObject& entry)
{
    const QJsonValue weight = entry.value(QLatin1String("productWeight"));
    return weight.isUndefined() ? std::optional<int>() : weight.toInt();
}

Result::MrpInfo mrpOf(const QJsonObject& entry)
{
    constexpr int tobacco = 16;  // when the reply names no group
    const int mrp = entry.value(QLatin1String("mrp")).toInt();
    if (mrp <= 0) {
        return {};
    }
    const QJsonArray groups = entry.value(QLatin1String("groupIds")).toArray();
    return {groups.isEmpty() ? tobacco : groups.first().toInt(), mrp};
}

Result::Status statusOf(const QJsonObject& entry, const std::optional<QDateTime>& expireDate,
                        const std::optional<int>& productWeight)
{
    if (entry.value(QLatin1String("isCheckedOffline")).toBool()) {
        return flagOf(entry, blockedField);
    }
    Result::Status status;
    for (const FlagField& field : flagFields) {
        status |= flagOf(entry, field);
    }
    if (status.testFlag(Result::NotRealizable)) {
        status |= flagOf(entry, grayZoneField);
    }
    if (expireDate) {
        const QDateTime now = MockFactory<CurrentTime>::create()->currentDateTime();
        status.setFlag(Result::Expired, !(now < *expireDate));
    }
    status.setFlag(Result::ZeroWeight, productWeight == 0);
    return status;
}

void readEntry(Result& result, const QJsonObject& entry, const Result::RequestInfo& request)
{
    const QByteArray cis = entry.value(QLatin1String("cis")).toString().toUtf8();
    const MarkingCode code(QString::fromLatin1(cis.toBase64()));
    const std::optional<QDateTime> expireDate = expireDateOf(entry);
    const std::optional<int> productWeight = productWeightOf(entry);
    const Result::MrpInfo mrp = mrpOf(entry);

    const Result::Status status = statusOf(entry, expireDate, productWeight);
    const QString message = entry.value(QLatin1String("message")).toString();
    if (!(status & ~Result::Status(Result::NotTracking)) && message.isEmpty()) {
        result.passedCodes.append(code);
    } else {
        result.failedCodes.insert(result.failedCodes.cend(), code,
                                  {status, message, entry.value(QLatin1String("ogvs")).toString(),
                                   entry.value(QLatin1String("errorCode")).toInt(), entry});
    }
    if (expireDate) {
        result.expireDates.insert(result.expireDates.cend(), code, *expireDate);
    }
    if (productWeight > 0) {
        result.productWeights.insert(result.productWeights.cend(), code, *productWeight);
    }
    if (mrp.mrp > 0) {
        result.mrps.insert(result.mrps.cend(), code, mrp);
    }
    result.requestInfos.insert(result.requestInfos.cend(), code, request);
}

}  // namespace

CheckMarkingCodesResult::CheckMarkingCodesResult(const CheckMarkingCodesReply& reply)
    : CheckMarkingCodesReply(reply)
{
    const QJsonObject object = reply.responseObject();
    const RequestInfo request = {object.value(QLatin1String("reqId")).toString(),
                                 object.value(QLatin1String("reqTimestamp")).toInteger(),
                                 object.value(QLatin1String("inst")).toString(),
                                 object.value(QLatin1String("version")).toString()};
    const QJsonArray entries = object.value(QLatin1String("codes")).toArray();
    const qsizetype count = std::min<qsizetype>(entries.size(), maxCodes);
    for (qsizetype i = 0; i < count; ++i) {
        readEntry(*this, entries.at(i).toObject(), request);
    }
}
