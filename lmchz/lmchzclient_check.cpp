#include "lmchz/lmchzclient.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include "lmchz/messages.h"
#include <log4qt/logger.h>

namespace {

QJsonObject checkBody(const QList<MarkingCode>& codes)
{
    QJsonArray list;
    for (const MarkingCode& code : codes) {
        list.append(QJsonObject{{QStringLiteral("cis"), code.cis()}});
    }
    return {{QStringLiteral("cis_list"), list}};
}

/// Not QMap::insert(map), which goes through all of the target for each addition.
template <class Value>
void add(QMap<MarkingCode, Value>& target, const QMap<MarkingCode, Value>& addition)
{
    for (auto entry = addition.cbegin(); entry != addition.cend(); ++entry) {
        target.insert(entry.key(), entry.value());
    }
}

/// Adds what `partial` says of codes. Of two refusals of a code the later one stays; a code that one result
/// passes and another refuses is in both containers.
void gather(CheckMarkingCodesResult& whole, const CheckMarkingCodesResult& partial)
{
    whole.passedCodes += partial.passedCodes;
    add(whole.failedCodes, partial.failedCodes);
    add(whole.requestInfos, partial.requestInfos);
    add(whole.mrps, partial.mrps);
}

CheckMarkingCodesResult gatherResults(const http::Response& reply)
{
    CheckMarkingCodesResult whole;
    const QJsonArray results = reply.responseObject().value(QLatin1String("results")).toArray();
    for (const auto& element : results) {
        gather(whole, CheckMarkingCodesResult(CheckMarkingCodesReply(reply, element.toObject())));
    }
    return whole;
}

template <class Value>
void rekey(QMap<MarkingCode, Value>& target, const MarkingCode& code, const QMap<MarkingCode, Value>& source,
           const MarkingCode& moduleCode)
{
    if (const auto found = source.constFind(moduleCode); found != source.cend()) {
        target.insert(code, *found);
    }
}

/// The module names codes by their identifying part; the caller gets its own codes back, and no others.
CheckMarkingCodesResult rekeyed(const CheckMarkingCodesResult& module, const QList<MarkingCode>& codes)
{
    const QSet<MarkingCode> passed(module.passedCodes.cbegin(), module.passedCodes.cend());
    CheckMarkingCodesResult result;
    for (const MarkingCode& code : codes) {
        const MarkingCode moduleCode(code.cis());
        if (passed.contains(moduleCode)) {
            result.passedCodes.append(code);
        }
        rekey(result.failedCodes, code, module.failedCodes, moduleCode);
        rekey(result.requestInfos, code, module.requestInfos, moduleCode);
        rekey(result.mrps, code, module.mrps, moduleCode);
    }
    return result;
}

}  // namespace

CheckMarkingCodesResult LmchzClient::checkMarkingCodes(const CheckMarkingCodesResult& onlineResult,
                                                       const QList<MarkingCode>& codes, const QString& token)
{
    const std::lock_guard lock(exchangeMutex);
    if (getStatus(token) != static_cast<int>(LmchzStatus::Ready)) {
        logger->warn(lmchz::messages::checkUnavailable);
        return onlineResult;
    }
    const http::Response reply = post(OutCheck, checkBody(codes));
    if (!isAnswered(reply)) {
        return onlineResult;
    }
    return rekeyed(gatherResults(reply), codes);
}
