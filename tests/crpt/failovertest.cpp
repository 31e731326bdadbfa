#include "crpt/failover.h"

#include <array>

#include "tests/crpt/crptclienttest.h"

/// Has a failed row name the step.
void PrintTo(NextStep step, std::ostream* out)
{
    static constexpr std::array names{"TakeReply", "PermitSale", "RetrySite",    "SkipSite",
                                      "NextSite",  "FetchList",  "TryFirstSite", "NoToken"};
    *out << names.at(static_cast<std::size_t>(step));
}

using http::ErrorKind;
using testing::IsEmpty;

namespace {

using enum NextStep;

struct Row
{
    const char* reply;
    AttemptOutcome outcome;
    NextStep withAnotherSite;
    NextStep withoutSite;  // and the list not fetched yet in this call
};

TEST(NextStepAfter, EachClassOfReply)
{
    const Row rows[] = {
        {"ok", {.reply = RequestStatus::Ok}, TakeReply, TakeReply},
        {"complete, not ok", {.reply = RequestStatus::Failed}, TakeReply, TakeReply},
        {"429, 5xx", {.reply = RequestStatus::ServerError}, NextSite, FetchList},
        {"cross-border service down", {.reply = RequestStatus::CrossBorderUnavailable}, RetrySite, RetrySite},
        {"... and again",
         {.reply = RequestStatus::CrossBorderUnavailable, .isRetrySpent = true},
         PermitSale,
         PermitSale},
        {"emergency", {.reply = RequestStatus::Emergency}, PermitSale, PermitSale},
        {"key refused", {.reply = RequestStatus::IncorrectToken}, TakeReply, TakeReply},
        {"other 4xx", {.reply = RequestStatus::ProtocolError}, TakeReply, TakeReply},
        {"time-out", {.reply = RequestStatus::Timeout}, NextSite, FetchList},
        {"... of the whole budget",
         {.reply = RequestStatus::Timeout, .isBudgetSpent = true},
         PermitSale,
         PermitSale},
        {"5xx past the budget",
         {.reply = RequestStatus::ServerError, .isBudgetSpent = true},
         NextSite,
         FetchList},
        {"403, 404, no reply", {.reply = RequestStatus::NetworkError}, NextSite, FetchList},
        {"... caused on this side",
         {.reply = RequestStatus::NetworkError, .isCausedHere = true},
         TakeReply,
         TakeReply},
        {"... caused by our limit of a reply",
         {.reply = RequestStatus::NetworkError, .isCausedHere = true, .hasReplyBegun = true},
         SkipSite,
         TakeReply},
    };
    for (const Row& row : rows) {
        AttemptOutcome outcome = row.outcome;
        EXPECT_EQ(nextStep(outcome), row.withoutSite) << row.reply;
        outcome.hasAnotherSite = true;
        EXPECT_EQ(nextStep(outcome), row.withAnotherSite) << row.reply;
    }
}

TEST(NextStepAfter, TheLastSiteDependsOnTheListUpdateOfThisCall)
{
    using Status = CrptClient::UpdateInfoStatus;
    const std::pair<std::optional<Status>, NextStep> rows[] = {{std::nullopt, FetchList},
                                                               {Status::AlreadyRunning, FetchList},
                                                               {Status::Finished, TryFirstSite},
                                                               {Status::NoKeys, NoToken}};
    for (const auto& [update, step] : rows) {
        EXPECT_EQ(nextStep({.reply = RequestStatus::ServerError, .listUpdate = update}), step);
    }
}

class FailoverTest : public CrptClientTest
{
protected:
    /// The hosts that were asked since the last call, in order.
    QStringList asked()
    {
        QStringList hosts;
        for (const SentRequest& sent : http.take()) {
            hosts.append(sent.url.host());
        }
        return hosts;
    }
    QList<ErrorKind> kinds(int calls)
    {
        QList<ErrorKind> kinds;
        while (calls-- > 0) {
            kinds.append(request().errorKind());
        }
        return kinds;
    }
};

TEST_F(FailoverTest, AsksTheFirstMiddleAndLastSiteInOrderThenFetchesTheListOnce)
{
    startWithSites({"s1", "s2", "s3"});
    for (const char* site : {"s1", "s2", "s3"}) {
        check(site, {says(500)});
    }
    info({lists({})});
    EXPECT_EQ(request().errorKind(), ErrorKind::Unreachable) << "the list update failed";
    EXPECT_EQ(asked(), QStringList({"s1", "s2", "s3", "op1"}));
    EXPECT_EQ(log.take().last(), "warn Нет доступных площадок после обновления списка");

    relist({"s2", "s4"});
    check("s2", {says(429)});
    check("s4", {says(200, ok)});
    EXPECT_EQ(request().status(), 200);
    EXPECT_EQ(asked(), QStringList({"op1", "s2", "s4", "s2", "s4"}));
}

TEST_F(FailoverTest, DoesNotFetchTheListASecondTimeInItsTurn)
{
    startWithSites({});
    relist({"s1"});
    check("s1", {says(500)});
    EXPECT_EQ(kinds(1), QList{ErrorKind::SalePermitted}) << "fetched well, and no fault of the network";
    EXPECT_EQ(asked(), QStringList({"op1", "s1", "s1"})) << "list, probe, check";
}

TEST_F(FailoverTest, AsksASiteAgainOneMillisecondAfterItsQuarantineOf15Minutes)
{
    using namespace std::chrono_literals;
    const std::pair<milliseconds, bool> rows[] = {{899'999ms, false}, {900'000ms, false}, {900'001ms, true}};
    for (const auto& [passed, isAsked] : rows) {
        startWithSites({"s1", "s2"});
        check("s1", {says(503), says(200, ok)});
        check("s2", {says(200, ok)});
        request();
        EXPECT_EQ(asked(), QStringList({"s1", "s2"}));
        clock.advance(passed);
        request();
        EXPECT_EQ(asked(), QStringList(isAsked ? "s1" : "s2")) << passed.count();
    }
}

TEST_F(FailoverTest, EndsWithATimeoutThatReachesTheBudgetAndGoesOnAMillisecondBefore)
{
    using namespace std::chrono_literals;
    for (const auto& [takes, isSpent] : {std::pair(4999ms, false), std::pair(5000ms, true)}) {
        startWithSites({"s1", "s2"});
        check("s1", {[this, takes = takes](const SentRequest&) {
                  clock.advance(takes);
                  return timedOut();
              }});
        check("s2", {says(200, ok)});
        const http::Response response = request(5s);
        EXPECT_EQ(response.errorKind(), isSpent ? ErrorKind::SalePermitted : ErrorKind::None);
        const auto sent = http.take();
        ASSERT_EQ(sent.size(), isSpent ? 1U : 2U);
        EXPECT_NEAR(double(sent.front().left.count()), 5000, 100) << "whatever the clock began with";
        EXPECT_EQ(isSpent, log.take().last().contains("превысило 5000 мсек."));
    }
}

TEST_F(FailoverTest, TakesNoSiteOutOfServiceForAFaultOfThisSide)
{
    startWithSites({"s1", "s2"});
    check("s1", {answers(canceledHere()), says(200, ok)});
    check("s2", {says(200, ok)});
    const auto result = client->checkMarkingCodes("key\n", {MarkingCode("A")}, {}, {});
    EXPECT_EQ(result.errorKind(), ErrorKind::None);
    EXPECT_TRUE(result.hasError(CheckMarkingCodesResult::NotInReply));
    request();
    EXPECT_EQ(asked(), QStringList({"s1", "s1"}));
    http::Response tooLarge = canceledHere();
    tooLarge.setStatus(200);
    check("s1", {answers(tooLarge)});
    EXPECT_EQ(request().networkError(), http::NetworkError::None) << "the next site gives the verdict";
    check("s2", {answers(tooLarge)});
    EXPECT_EQ(request().networkError(), http::NetworkError::OperationCanceled) << "nobody gives one";
    EXPECT_EQ(asked(), QStringList({"s1", "s2", "s1", "s2"}));
}

TEST_F(FailoverTest, SendsTheKeyAsItIsAlsoWhenItIsEmpty)
{
    startWithSites({"s1"});
    check("s1", {says(200, ok)});
    for (const char* key : {"", "Key"}) {
        (void)client->checkMarkingCodes(key, {MarkingCode("A")}, {}, {});
        const auto sent = http.take();
        ASSERT_EQ(sent.size(), 1U);
        const QHash<QString, QString> headers = {{"Content-Type", "application/json"},
                                                 {"Accept", "application/json"},
                                                 {"Connection", "keep-alive"},
                                                 {"X-API-KEY", key}};
        EXPECT_EQ(sent[0].headers, headers);
        EXPECT_EQ(sent[0].body, R"({"codes":["A"]})");
        EXPECT_NEAR(double(sent[0].left.count()), 2000, 100);
    }
}

TEST_F(FailoverTest, HoldsASearchBackForTheIntervalAfterAFailedOne)
{
    const Settings settings{{"CRPT:updateInfoInterval", "60"}};
    startWithSites({});
    info({says(500)});
    (void)request();
    EXPECT_EQ(asked(), QStringList("op1"));
    clock.advance(milliseconds(59'999));
    EXPECT_EQ(request().errorKind(), ErrorKind::Unreachable);
    EXPECT_THAT(asked(), IsEmpty());
    clock.advance(milliseconds(1));
    (void)request();
    EXPECT_EQ(asked(), QStringList("op1"));
}

using ListUpdate = FailoverTest;

TEST_F(ListUpdate, ProbesEachSiteOnceAndAHundredAtMost)
{
    QStringList sites = {"s0", "s0"};
    for (int i = 0; i <= 100; ++i) {
        sites.append("s" + QString::number(i));
    }
    make();
    client->addKey("key", "owner");  // once more, as a repeated settings event has it
    relist(sites);
    client->updateInfo();
    const QStringList probed = asked();
    EXPECT_EQ(probed.size(), 1 + 100);
    EXPECT_EQ(QSet<QString>(probed.begin(), probed.end()).size(), 1 + 100);
    EXPECT_THAT(log.take(), testing::Contains("warn Площадок в списке: 101, опрошены первые 100"));
    info({lists({})});
    client->updateInfo();
    EXPECT_EQ(asked(), QStringList("op1")) << "with each key once";
}

TEST_F(ListUpdate, SendsNothingMoreAfterAMinuteAndKeepsWhatItHas)
{
    startWithSites({});
    QStringList sites;
    for (int i = 0; i < 30; ++i) {
        sites.append("s" + QString::number(i));
    }
    relist(sites);
    for (const QString& site : sites.mid(1)) {
        http.script(site + base + "/cdn/health/check", {[this](const SentRequest& sent) {
                        clock.advance(sent.timeout);
                        return timedOut();
                    }});
    }
    client->updateInfo();
    const auto sent = http.take();
    ASSERT_EQ(sent.size(), 8U) << "the list, a good site, five silent ones and one that is cut";
    EXPECT_EQ(sent[6].timeout, milliseconds(10'000));
    EXPECT_EQ(sent[7].timeout, milliseconds(9'990));
    const QStringList lines = log.take();
    EXPECT_THAT(lines, testing::Contains("warn Обновление списка площадок прервано через 60 сек."));
    EXPECT_EQ(lines.last(), "info Выбрана CDN: http://s0 (10 мс)");
    const QJsonArray listed{QJsonObject{{"host", "http://s0"}}};
    EXPECT_EQ(client->checkHealth(listed, "key").size(), 1) << "the minute was that of the update";
}

}  // namespace
