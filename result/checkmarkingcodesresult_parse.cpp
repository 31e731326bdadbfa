#include "result/checkmarkingcodesresult.h"

#include <map>
#include <utility>

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

/// What the codes of a reply have besides their verdicts.
struct SideData
{
    std::map<MarkingCode, Result::RequestInfo> requestInfos;
    std::map<MarkingCode, QDateTime> expireDates;
    std::map<MarkingCode, int> productWeights;
    std::map<MarkingCode, Result::MrpInfo> mrps;

    void keep(const ReplyEntry& entry, const Result::RequestInfo& request);
};

/// Replies often have their codes in order: the end is where the next one goes. Half the comparisons of
/// insert_or_assign().
template <class Value>
void put(std::map<MarkingCode, Value>& values, const MarkingCode& code, const Value& value)
{
    const auto before = values.size();
    const auto place = values.emplace_hint(values.end(), code, value);
    if (values.size() == before) {
        place->second = value;
    }
}

void SideData::keep(const ReplyEntry& entry, const Result::RequestInfo& request)
{
    if (entry.expireDate) {
        put(expireDates, entry.code, *entry.expireDate);
    }
    if (entry.productWeight.value_or(0) > 0) {
        put(productWeights, entry.code, *entry.productWeight);
    }
    if (entry.mrp > 0) {
        put(mrps, entry.code, {entry.groupId, entry.mrp});
    }
    put(requestInfos, entry.code, request);
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
    SideData sideData;
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
        sideData.keep(entry, content.request);
    }
    requestInfos = QMap(std::move(sideData.requestInfos));
    expireDates = QMap(std::move(sideData.expireDates));
    productWeights = QMap(std::move(sideData.productWeights));
    mrps = QMap(std::move(sideData.mrps));
}
