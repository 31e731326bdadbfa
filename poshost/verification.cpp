#include "poshost/verification.h"

#include <algorithm>

#include <QElapsedTimer>
#include <QSet>

#include "contracts/verify.h"
#include "poshost/exitstatus.h"
#include <orvex/actiondispatcher.h>

namespace poshost {

bool Verification::isServed() const
{
    return triggerResult && *triggerResult != EContext::NotServed;
}

QList<Verdict> Verification::verdicts() const
{
    const QSet<MarkingCode> passed(result.passedCodes.begin(), result.passedCodes.end());
    QList<Verdict> verdicts;
    for (const MarkingCode& code : codes) {
        const bool failed = result.failedCodes.contains(code);
        verdicts.append(failed                  ? Verdict::Failed
                        : passed.contains(code) ? Verdict::Passed
                                                : Verdict::Missing);
    }
    return verdicts;
}

Source Verification::source() const
{
    if (!isServed()) {
        return Source::Nowhere;
    }
    // A local module's result carries no reply. An online one does, or it says why not: by its error kind,
    // or code by code.
    const bool carriesReply = result.status() != 0 || !result.url().isEmpty() ||
                              result.errorKind() != http::ErrorKind::None ||
                              result.hasError(CheckMarkingCodesResult::NotInReply);
    return carriesReply ? Source::Online : Source::Offline;
}

int Verification::exitStatus() const
{
    if (!isServed()) {
        return exitstatus::NotServed;
    }
    const QList<Verdict> all = verdicts();
    const bool allPassed = all.count(Verdict::Passed) == all.size();
    return allPassed ? exitstatus::Good : exitstatus::Bad;
}

Verification verify(const QList<MarkingCode>& codes, const HostSettings& settings, bool refund,
                    bool explained)
{
    const control::Action action(control::EActionType::VerifyMarking);
    const control::args::marking::Verify arguments(action, settings.service);
    arguments.setSection(settings.section);
    arguments.setMarkingCodes(codes);
    arguments.setRefund(refund);
    arguments.setApiKey(settings.apiKey);
    arguments.setRequestTimeout(settings.requestTimeout);
    arguments.setOperationTimeout(settings.operationTimeout);

    Verification verification;
    verification.codes = codes;
    std::optional<CheckTrace> trace;
    if (explained) {
        trace.emplace();
    }
    QElapsedTimer timer;
    timer.start();
    const QList<EContext::Result> answers = Singleton<ActionDispatcher>::instance()->perform(action);
    verification.elapsed = std::chrono::milliseconds(timer.elapsed());
    if (trace) {
        verification.explanation =
            explain(trace->entries(), trace->begin(), std::chrono::steady_clock::now());
    }
    if (!answers.isEmpty()) {
        // Whoever took the action speaks for all.
        verification.triggerResult = *std::min_element(answers.begin(), answers.end());
    }
    verification.result = arguments.verifyResult();
    return verification;
}

}  // namespace poshost
