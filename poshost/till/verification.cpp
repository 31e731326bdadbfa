#include "poshost/till/verification.h"

#include <algorithm>
#include <thread>

#include <QElapsedTimer>
#include <QSet>

#include "contracts/verify.h"
#include "poshost/story/storybuilder.h"
#include "poshost/terminal/fatalerror.h"
#include <log4qt/logmanager.h>
#include <network/restclient.h>
#include <orvex/actiondispatcher.h>

namespace poshost {

namespace {

using Result = CheckMarkingCodesResult;

/// NotTracking makes no code fail by itself.
constexpr Result::Status forgivenWithSold =
    Result::Status(Result::Sold) | Result::NotRealizable | Result::NotTracking;

using std::chrono::steady_clock;

/// Takes down what the thread that made it does over HTTP and says in the log (masked, level debug and
/// above), while it lives. A check runs from its begin to its end in the thread that asks for it, so what
/// other threads do meanwhile (a list update, a ping) is no part of it and is left out. One at a time; it
/// takes the log's watcher.
class CheckTrace
{
public:
    CheckTrace()
    {
        RestClient::setExchangeObserver(
            [this](const http::ExchangeRecord& exchange) { add(exchange.begin, exchange); });
        Log4Qt::LogManager::setWatcher(
            [this](const Log4Qt::LogRecord& line) { add(steady_clock::now(), line.text); },
            Log4Qt::Level::Debug);
    }
    CheckTrace(const CheckTrace&) = delete;
    CheckTrace& operator=(const CheckTrace&) = delete;
    ~CheckTrace()
    {
        Log4Qt::LogManager::setWatcher({});
        RestClient::setExchangeObserver({});
    }

    /// What has happened until now. For the thread that made it.
    [[nodiscard]] CheckStory story() const
    {
        CheckStory story = m_builder.story();
        story.total = steady_clock::now() - m_begin;
        return story;
    }

private:
    template <class Entry>
    void add(steady_clock::time_point at, const Entry& entry)
    {
        if (std::this_thread::get_id() == m_owner) {
            m_builder.add(at - m_begin, entry);
        }
    }

    const std::thread::id m_owner = std::this_thread::get_id();
    const steady_clock::time_point m_begin = steady_clock::now();
    StoryBuilder m_builder;
};

}  // namespace

Result::Status standingReasons(const Result::CodeStatus& failed, Deal deal)
{
    const bool forgives = deal == Deal::Refund && failed.status.testFlag(Result::Sold);
    return forgives ? failed.status & ~forgivenWithSold : failed.status;
}

void judgeForDeal(Verification& verification)
{
    Result& result = verification.result;
    for (auto failed = result.failedCodes.begin(); failed != result.failedCodes.end();) {
        if (failed->status != 0 && standingReasons(*failed, verification.deal) == 0) {
            verification.forgiven.insert(failed.key());
            result.passedCodes.append(failed.key());
            failed = result.failedCodes.erase(failed);
        } else {
            ++failed;
        }
    }
}

bool Verification::isServed() const
{
    return triggerResult && *triggerResult != EContext::NotServed;
}

QList<Verdict> Verification::verdicts() const
{
    const QSet<MarkingCode> passed(result.passedCodes.begin(), result.passedCodes.end());
    const bool isPermitted = result.errorKind() == http::ErrorKind::SalePermitted;
    QList<Verdict> verdicts;
    for (const MarkingCode& code : codes) {
        const bool failed = result.failedCodes.contains(code);
        verdicts.append(failed                   ? Verdict::Failed
                        : !passed.contains(code) ? Verdict::Missing
                        : isPermitted            ? Verdict::Unverified
                                                 : Verdict::Passed);
    }
    return verdicts;
}

Source Verification::source() const
{
    if (!isServed() || result.errorKind() != http::ErrorKind::None) {
        return Source::Nowhere;
    }
    // A local module's result carries no reply. An online one does, or says so code by code.
    const bool carriesReply = result.status() != 0 || !result.url().isEmpty() ||
                              result.hasError(CheckMarkingCodesResult::NotInReply);
    return carriesReply ? Source::Online : Source::Offline;
}

int Verification::exitStatus() const
{
    if (!isServed()) {
        return exitstatus::NotServed;
    }
    const QList<Verdict> all = verdicts();
    if (!result.isSuccess() || all.contains(Verdict::Failed) || all.contains(Verdict::Missing)) {
        return exitstatus::Bad;
    }
    return all.contains(Verdict::Unverified) ? exitstatus::Unverified : exitstatus::Good;
}

Verification verify(const QList<MarkingCode>& codes, const HostSettings& settings, Deal deal, bool explained)
{
    const control::Action action(control::EActionType::VerifyMarking);
    const control::args::marking::Verify arguments(action, settings.service);
    arguments.setSection(settings.section);
    arguments.setMarkingCodes(codes);
    arguments.setRefund(deal == Deal::Refund);
    arguments.setApiKey(settings.apiKey);
    arguments.setRequestTimeout(settings.requestTimeout);
    arguments.setOperationTimeout(settings.operationTimeout);

    Verification verification;
    verification.codes = codes;
    verification.deal = deal;
    std::optional<CheckTrace> trace;
    if (explained) {
        trace.emplace();
    }
    QElapsedTimer timer;
    timer.start();
    const QList<EContext::Result> answers = Singleton<ActionDispatcher>::instance()->perform(action);
    verification.elapsed = std::chrono::milliseconds(timer.elapsed());
    if (trace) {
        verification.story = trace->story();
    }
    if (!answers.isEmpty()) {
        // Whoever took the action speaks for all.
        verification.triggerResult = *std::min_element(answers.begin(), answers.end());
    }
    verification.result = arguments.verifyResult();
    judgeForDeal(verification);
    return verification;
}

}  // namespace poshost
