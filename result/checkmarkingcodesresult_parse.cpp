#include "result/checkmarkingcodesresult.h"

#include <array>

#include <QJsonArray>
#include <QLatin1String>

#include <utils/currenttime.h>

namespace {

/// The field as a truth value: null is false, a missing field or any other wrong type is the default.
bool readBool(const QJsonObject& object, QLatin1String key, bool fallback)
{
    const QJsonValue value = object.value(key);
    return value.isNull() ? false : value.toBool(fallback);
}

struct FlagRule
{
    QLatin1String field;
    bool whenMissing;
    bool flaggedWhen;
    CheckMarkingCodesResult::EStatus flag;
};

constexpr auto ExpireDate = QLatin1String("expireDate");
constexpr auto ProductWeight = QLatin1String("productWeight");

constexpr FlagRule Blocked = {QLatin1String("isBlocked"), false, true, CheckMarkingCodesResult::Blocked};

/// Not looked at for a code that was checked offline.
constexpr std::array OnlineRules = {
    FlagRule{QLatin1String("isGreyGtin"), false, true, CheckMarkingCodesResult::GreyGtin},
    FlagRule{QLatin1String("found"), true, false, CheckMarkingCodesResult::NotFound},
    FlagRule{QLatin1String("realizable"), true, false, CheckMarkingCodesResult::NotRealizable},
    FlagRule{QLatin1String("utilised"), true, false, CheckMarkingCodesResult::NotUtilised},
    FlagRule{QLatin1String("valid"), true, false, CheckMarkingCodesResult::NotValid},
    FlagRule{QLatin1String("verified"), true, false, CheckMarkingCodesResult::NotVerified},
    FlagRule{QLatin1String("sold"), false, true, CheckMarkingCodesResult::Sold},
    FlagRule{QLatin1String("isOwner"), true, false, CheckMarkingCodesResult::NotOwner},
    FlagRule{QLatin1String("isTracking"), true, false, CheckMarkingCodesResult::NotTracking},
};

bool isFlagged(const QJsonObject& entry, const FlagRule& rule)
{
    return readBool(entry, rule.field, rule.whenMissing) == rule.flaggedWhen;
}

QDateTime readExpireDate(const QJsonValue& value)
{
    return QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
}

bool isExpired(const QDateTime& expireDate)
{
    return !(MockFactory<CurrentTime>::create()->currentDateTime() < expireDate);
}

CheckMarkingCodesResult::Status readStatus(const QJsonObject& entry)
{
    CheckMarkingCodesResult::Status status;
    status.setFlag(Blocked.flag, isFlagged(entry, Blocked));
    if (readBool(entry, QLatin1String("isCheckedOffline"), false)) {
        return status;
    }
    for (const FlagRule& rule : OnlineRules) {
        status.setFlag(rule.flag, isFlagged(entry, rule));
    }
    if (readBool(entry, QLatin1String("grayZone"), false)) {
        status.setFlag(CheckMarkingCodesResult::GrayZoneNotRealizable,
                       status.testFlag(CheckMarkingCodesResult::NotRealizable));
    }
    if (const QJsonValue date = entry.value(ExpireDate); !date.isUndefined()) {
        status.setFlag(CheckMarkingCodesResult::Expired, isExpired(readExpireDate(date)));
    }
    if (const QJsonValue weight = entry.value(ProductWeight); !weight.isUndefined()) {
        status.setFlag(CheckMarkingCodesResult::ZeroWeight, weight.toInt() == 0);
    }
    return status;
}

MarkingCode readMarkingCode(const QJsonObject& entry)
{
    const QByteArray cis = entry.value(QLatin1String("cis")).toString().toUtf8();
    return MarkingCode(QString::fromLatin1(cis.toBase64()));
}

qint32 readGroupId(const QJsonObject& entry)
{
    constexpr qint32 tobacco = 16;
    const QJsonArray groups = entry.value(QLatin1String("groupIds")).toArray();
    return groups.isEmpty() ? tobacco : groups.first().toInt();
}

}  // namespace

CheckMarkingCodesResult::CheckMarkingCodesResult(const CheckMarkingCodesReply& reply)
    : CheckMarkingCodesReply(reply)
{
    const QJsonObject object = reply.responseObject();
    const RequestInfo request = {
        object.value(QLatin1String("reqId")).toString(),
        object.value(QLatin1String("reqTimestamp")).toInteger(),
        object.value(QLatin1String("inst")).toString(),
        object.value(QLatin1String("version")).toString(),
    };
    const QJsonArray codes = object.value(QLatin1String("codes")).toArray();
    for (const auto& code : codes) {
        readCode(code.toObject(), request);
    }
}

void CheckMarkingCodesResult::readCode(const QJsonObject& entry, const RequestInfo& request)
{
    const MarkingCode code = readMarkingCode(entry);
    const CodeStatus codeStatus = {
        readStatus(entry),
        entry.value(QLatin1String("message")).toString(),
        entry.value(QLatin1String("ogvs")).toString(),
        entry.value(QLatin1String("errorCode")).toInt(),
        entry,
    };

    if (const QJsonValue date = entry.value(ExpireDate); !date.isUndefined()) {
        expireDates.insert(code, readExpireDate(date));
    }
    if (const int weight = entry.value(ProductWeight).toInt(); weight > 0) {
        productWeights.insert(code, weight);
    }
    if (const int mrp = entry.value(QLatin1String("mrp")).toInt(); mrp > 0) {
        mrps.insert(code, {readGroupId(entry), mrp});
    }

    const Status reasons = codeStatus.status & ~Status(NotTracking);
    if (!reasons && codeStatus.message.isEmpty()) {
        passedCodes.append(code);
    } else {
        failedCodes.insert(code, codeStatus);
    }
    requestInfos.insert(code, request);
}
