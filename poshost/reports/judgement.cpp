#include "poshost/reports/judgement.h"

#include "poshost/language.h"
#include "poshost/reports/statustext.h"
#include "poshost/reports/table.h"
#include "poshost/terminal/output.h"

namespace poshost {

namespace {

using Result = CheckMarkingCodesResult;

QStringList refusalReasons(const Result::CodeStatus& failed, Deal deal)
{
    QStringList reasons = cashierWords(failed, deal);
    if (!failed.message.isEmpty()) {
        reasons.append(
            said({u"the operator says: %1", u"сообщение оператора: %1"}).arg(oneLine(failed.message)));
    }
    return reasons.isEmpty() ? QStringList(said({u"no reason given", u"причина не названа"})) : reasons;
}

QString missingReason(const Result& result, Deal deal)
{
    const QString why = whyNoVerdict(result.errorKind(), result.status(), deal);
    const QString words = why.isEmpty() ? oneLine(result.errorText().ru()) : why;
    return words.isEmpty() ? said({u"no verdict", u"вердикта нет"})
                           : said({u"no verdict: %1", u"вердикта нет: %1"}).arg(words);
}

}  // namespace

Judgement judge(const Verification& verification)
{
    const Result& result = verification.result;
    const MarkingCode code = verification.codes.value(0);
    Judgement judgement;
    judgement.verdict = verification.verdicts().value(0, Verdict::Missing);
    if (verification.forgiven.contains(code)) {
        judgement.remarks.append(forgivenWords());
    }
    if (judgement.verdict == Verdict::Failed) {
        judgement.reasons = refusalReasons(result.failedCodes.value(code), verification.deal);
    } else if (judgement.verdict == Verdict::Missing) {
        judgement.reasons.append(missingReason(result, verification.deal));
    } else if (judgement.verdict == Verdict::Unverified) {
        judgement.remarks.append(whyNoVerdict(result.errorKind(), result.status(), verification.deal));
    } else if (verification.source() == Source::Offline) {
        judgement.remarks.append(said({u"checked by the local module", u"проверено локальным модулем"}));
    }
    if (const QString data = sideData(result, code); !data.isEmpty()) {
        judgement.remarks.append(data);
    }
    return judgement;
}

}  // namespace poshost
