#include "result/checkmarkingcodesresult.h"

#include <QSet>

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

    for (const MarkingCode& code : other.passedCodes) {
        const MarkingCode byCis = code.identity();
        failedCodes.remove(code);
        failedCodes.remove(byCis);
        if (passed.contains(code) || passed.contains(byCis)) {
            continue;
        }
        passedCodes.append(code);
        passed.insert(code);
        copySideData(code, other);
    }
    for (auto failed = other.failedCodes.cbegin(); failed != other.failedCodes.cend(); ++failed) {
        const MarkingCode& code = failed.key();
        const MarkingCode byCis = code.identity();
        if (passed.contains(code) || passed.contains(byCis) || failedCodes.contains(code) ||
            failedCodes.contains(byCis)) {
            continue;
        }
        failedCodes.insert(code, failed.value());
        copySideData(code, other);
    }
    return *this;
}

void CheckMarkingCodesResult::copySideData(const MarkingCode& code, const CheckMarkingCodesResult& other)
{
    requestInfos.insert(code, other.requestInfos.value(code));
    expireDates.insert(code, other.expireDates.value(code));
    productWeights.insert(code, other.productWeights.value(code));
    mrps.insert(code, other.mrps.value(code));
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
