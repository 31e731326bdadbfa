#include "poshost/judgement.h"

#include "poshost/statustext.h"
#include "poshost/verifytable.h"

namespace poshost {

namespace {

using Result = CheckMarkingCodesResult;

/// NotTracking makes no code fail by itself.
constexpr Result::Status forgivenWithSold =
    Result::Status(Result::Sold) | Result::NotRealizable | Result::NotTracking;

QStringList refusalReasons(const Result::CodeStatus& failed)
{
    QStringList reasons = cashierWords(failed.status);
    if (!failed.message.isEmpty()) {
        reasons.append(QStringLiteral("сообщение оператора: %1").arg(oneLine(failed.message)));
    }
    return reasons.isEmpty() ? QStringList(QStringLiteral("причина не названа")) : reasons;
}

QString whyNoVerdict(const Result& result)
{
    if (const QString words = errorKindWords(result.errorKind()); !words.isEmpty()) {
        return QStringLiteral("вердикта нет: %1").arg(words);
    }
    const QString error = oneLine(result.errorText().ru());
    return error.isEmpty() ? QStringLiteral("вердикта нет") : QStringLiteral("вердикта нет: %1").arg(error);
}

}  // namespace

Judgement judge(const Verification& verification, Deal deal)
{
    Verification judged = verification;
    Judgement judgement;
    if (deal == Deal::Refund && judged.result.hasError(Result::Sold)) {
        judged.result.ignore(forgivenWithSold);
        judgement.remarks.append(QStringLiteral("товар был продан"));
    }
    const Verdict verdict = judged.verdicts().value(0, Verdict::Missing);
    judgement.isAccepted = verdict == Verdict::Passed;
    if (verdict == Verdict::Failed) {
        judgement.reasons = refusalReasons(judged.result.failedCodes.value(judged.codes.first()));
    } else if (verdict == Verdict::Missing) {
        judgement.reasons.append(whyNoVerdict(judged.result));
    } else if (judged.source() == Source::Offline) {
        judgement.remarks.append(QStringLiteral("проверено локальным модулем"));
    } else if (judged.result.errorKind() == http::ErrorKind::SalePermitted) {
        judgement.remarks.append(errorKindWords(judged.result.errorKind()));
    }
    if (const QString data = sideData(judged.result, judged.codes.value(0)); !data.isEmpty()) {
        judgement.remarks.append(data);
    }
    return judgement;
}

}  // namespace poshost
