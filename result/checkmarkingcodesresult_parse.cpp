#include "result/checkmarkingcodesresult.h"

#include <QJsonArray>
#include <QLatin1String>

#include "result/replycontent.h"
#include <utils/currenttime.h>

namespace {

using Result = CheckMarkingCodesResult;

ReplyContent contentOf(const CheckMarkingCodesReply& reply)
{
    if (!reply.hasOwnObject()) {
        if (auto content = ReplyContent::fromPlainJson(reply.body())) {
            return std::move(*content);
        }
    }
    return ReplyContent::fromObject(reply.responseObject());
}

/// The time that expiry dates are held against, read when the first one is.
class Now
{
public:
    bool isBefore(const QDateTime& date)
    {
        if (!m_now) {
            m_now = MockFactory<CurrentTime>::create()->currentDateTime();
        }
        return *m_now < date;
    }

private:
    std::optional<QDateTime> m_now;
};

Result::Status statusOf(const ReplyEntry& entry, Now& now)
{
    if (entry.checkedOffline) {
        return entry.flags & Result::Blocked;
    }
    Result::Status status = entry.flags;
    if (entry.grayZone) {
        status.setFlag(Result::GrayZoneNotRealizable, status.testFlag(Result::NotRealizable));
    }
    if (entry.expireDate) {
        status.setFlag(Result::Expired, !now.isBefore(*entry.expireDate));
    }
    if (entry.productWeight) {
        status.setFlag(Result::ZeroWeight, *entry.productWeight == 0);
    }
    return status;
}

}  // namespace

CheckMarkingCodesResult::CheckMarkingCodesResult(const CheckMarkingCodesReply& reply)
    : CheckMarkingCodesReply(reply)
{
    const ReplyContent content = contentOf(reply);
    std::optional<QJsonArray> objects;  // made only when a code fails
    Now now;
    passedCodes.reserve(qsizetype(content.entries.size()));
    for (size_t i = 0; i < content.entries.size(); ++i) {
        const ReplyEntry& entry = content.entries[i];
        const Status status = statusOf(entry, now);
        if (!(status & ~Status(NotTracking)) && entry.message.isEmpty()) {
            passedCodes.append(entry.code);
        } else {
            if (!objects) {
                objects = reply.responseObject().value(QLatin1String("codes")).toArray();
            }
            failedCodes.insert(
                failedCodes.cend(), entry.code,
                {status, entry.message, entry.ogvs, entry.errorCode, objects->at(qsizetype(i)).toObject()});
        }
        keepSideData(entry, content.request);
    }
}

/// Replies often have their codes in order: the end is where the next one goes.
void CheckMarkingCodesResult::keepSideData(const ReplyEntry& entry, const RequestInfo& request)
{
    if (entry.expireDate) {
        expireDates.insert(expireDates.cend(), entry.code, *entry.expireDate);
    }
    if (entry.productWeight.value_or(0) > 0) {
        productWeights.insert(productWeights.cend(), entry.code, *entry.productWeight);
    }
    if (entry.mrp > 0) {
        mrps.insert(mrps.cend(), entry.code, {entry.groupId, entry.mrp});
    }
    requestInfos.insert(requestInfos.cend(), entry.code, request);
}
