#include "result/checkmarkingcodesresult.h"

#include <algorithm>

#include <QSet>

namespace {

/// Copies the values of the codes, which are in order, or the default where there is none. One way through
/// all three: looking each code up takes several times as long in large maps.
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

CheckMarkingCodesResult::CheckMarkingCodesResult() = default;
CheckMarkingCodesResult::CheckMarkingCodesResult(const CheckMarkingCodesResult&) = default;
CheckMarkingCodesResult::CheckMarkingCodesResult(CheckMarkingCodesResult&&) noexcept = default;
CheckMarkingCodesResult& CheckMarkingCodesResult::operator=(const CheckMarkingCodesResult&) = default;
CheckMarkingCodesResult& CheckMarkingCodesResult::operator=(CheckMarkingCodesResult&&) noexcept = default;
CheckMarkingCodesResult::~CheckMarkingCodesResult() = default;

CheckMarkingCodesResult& CheckMarkingCodesResult::operator+=(const CheckMarkingCodesResult& other)
{
    if (this == &other) {
        return *this += CheckMarkingCodesResult(other);
    }
    QSet<MarkingCode> passed(passedCodes.cbegin(), passedCodes.cend());
    QList<MarkingCode> added;

    for (const MarkingCode& code : other.passedCodes) {
        const MarkingCode byCis = code.identity();
        failedCodes.remove(code);
        failedCodes.remove(byCis);
        if (passed.contains(code) || passed.contains(byCis)) {
            continue;
        }
        passedCodes.append(code);
        passed.insert(code);
        added.append(code);
    }
    for (auto failed = other.failedCodes.cbegin(); failed != other.failedCodes.cend(); ++failed) {
        const MarkingCode& code = failed.key();
        const MarkingCode byCis = code.identity();
        if (passed.contains(code) || passed.contains(byCis) || failedCodes.contains(code) ||
            failedCodes.contains(byCis)) {
            continue;
        }
        failedCodes.insert(code, failed.value());
        added.append(code);
    }
    copySideData(added, other);
    return *this;
}

void CheckMarkingCodesResult::copySideData(QList<MarkingCode>& codes, const CheckMarkingCodesResult& other)
{
    std::sort(codes.begin(), codes.end());
    copyValues(codes, other.requestInfos, requestInfos);
    copyValues(codes, other.expireDates, expireDates);
    copyValues(codes, other.productWeights, productWeights);
    copyValues(codes, other.mrps, mrps);
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
    for (const CodeStatus& failed : failedCodes) {
        if (failed.status.testFlag(status)) {
            return true;
        }
    }
    return false;
}

bool CheckMarkingCodesResult::isSuccess() const
{
    return success.value_or(failedCodes.isEmpty());
}
