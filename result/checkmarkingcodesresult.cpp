#include "result/checkmarkingcodesresult.h"

#include <algorithm>

#include <QSet>

namespace {

/// Copies the values of the codes, which are in order, or the default where there is none. One way through
/// all three: to look each code up takes longer the larger the maps are.
template <class Value>
void copyValues(const QList<MarkingCode>& codes, const QMap<MarkingCode, Value>& from,
                QMap<MarkingCode, Value>& to)
{
    auto source = from.cbegin();
    auto target = to.cbegin();
    for (const MarkingCode& code : codes) {
        while (source != from.cend() && source.key() < code) {
            ++source;
        }
        while (target != to.cend() && target.key() < code) {
            ++target;
        }
        const bool isKnown = source != from.cend() && source.key() == code;
        target = to.insert(target, code, isKnown ? source.value() : Value());
    }
}

}  // namespace

CheckMarkingCodesResult& CheckMarkingCodesResult::operator+=(const CheckMarkingCodesResult& other)
{
    if (this == &other) {
        return *this += CheckMarkingCodesResult(other);
    }
    QSet<MarkingCode> passed(passedCodes.cbegin(), passedCodes.cend());
    QSet<MarkingCode> forgiven;
    QList<MarkingCode> added;
    for (const MarkingCode& code : other.passedCodes) {
        const MarkingCode byCis(code.cis());
        forgiven << code << byCis;
        if (!passed.contains(code) && !passed.contains(byCis)) {
            passedCodes.append(code);
            passed.insert(code);
            added.append(code);
        }
    }
    failedCodes.removeIf([&forgiven](const auto& failed) { return forgiven.contains(failed.key()); });
    for (auto failed = other.failedCodes.cbegin(); failed != other.failedCodes.cend(); ++failed) {
        const MarkingCode& code = failed.key();
        const MarkingCode byCis(code.cis());
        if (!passed.contains(code) && !passed.contains(byCis) && !failedCodes.contains(code) &&
            !failedCodes.contains(byCis)) {
            failedCodes.insert(code, failed.value());
            added.append(code);
        }
    }
    std::sort(added.begin(), added.end());
    copyValues(added, other.requestInfos, requestInfos);
    copyValues(added, other.expireDates, expireDates);
    copyValues(added, other.productWeights, productWeights);
    copyValues(added, other.mrps, mrps);
    return *this;
}

void CheckMarkingCodesResult::ignore(QFlags<EStatus> flags)
{
    for (auto failed = failedCodes.begin(); failed != failedCodes.end();) {
        failed->status &= ~flags;
        if (failed->status) {
            ++failed;
        } else {
            passedCodes.append(failed.key());
            failed = failedCodes.erase(failed);
        }
    }
}

bool CheckMarkingCodesResult::hasError(EStatus status) const
{
    return std::any_of(failedCodes.cbegin(), failedCodes.cend(),
                       [status](const CodeStatus& failed) { return failed.status.testFlag(status); });
}

bool CheckMarkingCodesResult::isSuccess() const
{
    return success.value_or(failedCodes.isEmpty());
}
