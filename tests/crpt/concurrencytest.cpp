#include <future>
#include <thread>

#include <orvex/activitynotifier.h>
#include <orvex/baseactivitylistener.h>
#include <orvex/eactivitylistener.h>
#include <orvex/events.h>

#include "tests/crpt/crptclienttest.h"
#include "tests/doubles/stoppedanswer.h"

using http::ErrorKind;
using std::chrono::seconds;

namespace {

constexpr seconds testLimit(20);  // a bound for a test that fails, not a pace

class ClientInSeveralThreads : public CrptClientTest
{
protected:
    std::future<http::Response> requestElsewhere(milliseconds limit = milliseconds::max())
    {
        return std::async(std::launch::async, [this, limit] { return request(limit); });
    }
    /// Another check, which waits for its turn now.
    std::future<http::Response> waitElsewhere(milliseconds limit)
    {
        clock.onLook = [this] { begun.announce(); };
        auto waiting = requestElsewhere(limit);
        EXPECT_TRUE(begun.comes());
        std::this_thread::sleep_for(milliseconds(20));
        return waiting;
    }
    /// The list of a search that takes this long.
    Answer listsAfter(milliseconds time, const QStringList& sites)
    {
        return [=, this](const SentRequest& sent) {
            clock.advance(time);
            return lists(sites)(sent);
        };
    }
    /// What a site gives that has the code as sold, to a request that still has time.
    static Answer soldInTime()
    {
        return [](const SentRequest& sent) {
            return sent.left > milliseconds(0) ? reply(200, sold) : timedOut();
        };
    }
    static bool ends(const auto& future, milliseconds limit = testLimit)
    {
        return future.wait_for(limit) == std::future_status::ready;
    }

    static inline const QJsonObject sold = {{"code", 0}, {"description", "ok"}, {"codes", "sold"}};
    Moment begun;
    StoppedAnswer stopped;
};

TEST_F(ClientInSeveralThreads, ASearchOfAnotherCheckCostsNoBudgetWhateverItTakes)
{
    startWithSites({});
    relist({"s1"});
    check("s1", {soldInTime()});
    std::future<http::Response> first;
    info({stopped.of(listsAfter(seconds(3), {"s1"}))});
    clock.onSleep = [&] {
        stopped.goOn();
        EXPECT_TRUE(ends(first));
    };
    first = requestElsewhere(seconds(2));
    ASSERT_TRUE(stopped.isAsked());
    EXPECT_EQ(request(seconds(2)).status(), 200) << "of the check that waited";
    EXPECT_EQ(first.get().status(), 200) << "of the check that searched";
}

TEST_F(ClientInSeveralThreads, TheFailoverOfAnotherCheckCostsBudgetItsListUpdateIncluded)
{
    startWithSites({"s1"});
    std::future<http::Response> second;
    check("s1", {[&](const SentRequest&) {
              second = waitElsewhere(seconds(10));
              return reply(500);
          }});
    relist({"s2"});
    info({listsAfter(seconds(11), {"s2"})});
    check("s2", {says(200, ok), soldInTime()});
    EXPECT_EQ(request().status(), 200);
    EXPECT_EQ(second.get().errorKind(), ErrorKind::SalePermitted) << "its 10 s are over";
}

TEST_F(ClientInSeveralThreads, ACheckThatIsHeldBackReturnsAtOnceWhileAnotherOneSearches)
{
    const Settings settings{{"CRPT:updateInfoInterval", "4000000"}};  // longer than the machine is up
    startWithSites({"s1"});
    check("s1", {says(500)});
    info({stopped.of(says(500))});
    auto failover = requestElsewhere();
    ASSERT_TRUE(stopped.isAsked());
    auto heldBack = requestElsewhere();
    EXPECT_TRUE(ends(heldBack));
    EXPECT_FALSE(ends(failover, milliseconds(0)));
    stopped.goOn();
    EXPECT_EQ(heldBack.get().errorKind(), ErrorKind::SalePermitted) << "no list request has failed so far";
    EXPECT_EQ(failover.get().errorKind(), ErrorKind::Unreachable);
}

TEST_F(ClientInSeveralThreads, OneFailoverAtATimeAndAWaitingCheckGivesUpAtItsOwnDeadline)
{
    startWithSites({"s1", "s2"});
    check("s1", {stopped.of(says(200, ok)), says(200, ok)});
    auto first = requestElsewhere();
    ASSERT_TRUE(stopped.isAsked());
    const http::Response late = request(milliseconds(50));
    EXPECT_EQ(late.errorKind(), ErrorKind::SalePermitted);
    EXPECT_TRUE(late.isTimeout());
    EXPECT_EQ(late.status(), 0);
    EXPECT_EQ(log.take().last(), "warn Суммарное время ожидания ответа от сервера превысило 50 мсек.");
    EXPECT_FALSE(ends(first, milliseconds(0)));
    EXPECT_EQ(http.take().size(), 1U) << "nobody was asked besides";
    stopped.goOn();
    EXPECT_EQ(first.get().status(), 200);
    EXPECT_EQ(request(milliseconds(50)).status(), 200);
}

TEST_F(ClientInSeveralThreads, ACheckThatFindsNoSiteLeftWhenItsTurnComesSearchesOnItsOwnAccountAnew)
{
    startWithSites({"s1"});
    std::future<http::Response> second;
    check("s1", {[&](const SentRequest&) {
              second = waitElsewhere(seconds(10));
              clock.advance(seconds(4));
              return reply(500);
          }});
    relist({"s2"});
    info({says(500), listsAfter(seconds(9), {"s2"})});
    check("s2", {soldInTime()});
    EXPECT_EQ(request().errorKind(), ErrorKind::Unreachable);
    EXPECT_EQ(second.get().status(), 200);
    EXPECT_NEAR(double(http.take().back().left.count()), 6000, 100)
        << "4 s of 10 are spent, the search is off the budget";
}

/// As if other checks took every site out of service that this one has found.
TEST_F(ClientInSeveralThreads, ACheckSearchesNoMoreOnceItsSearchesHaveTakenAMinute)
{
    startWithSites({});
    relist({"s1"});
    const Answer slowList = listsAfter(milliseconds(29'990), {"s1"});  // and 10 ms for the probe
    info({slowList, says(500), slowList, says(500), slowList, says(500)});
    check("s1", {says(500)});
    bool isFound = false;
    clock.onLook = [&] {
        // Once when the search is over, and then when the wait for the turn begins.
        const QStringList lines = log.take();
        const bool isSearchOver = !lines.isEmpty() && lines.last().contains("Выбрана CDN");
        if (std::exchange(isFound, isSearchOver)) {
            EXPECT_EQ(request().errorKind(), ErrorKind::Unreachable);
        }
    };
    EXPECT_EQ(request(seconds(2)).errorKind(), ErrorKind::Unreachable);
    EXPECT_EQ(http.take().size(), 8U) << "two searches, each with a probe, a check elsewhere and its search";
}

TEST_F(ClientInSeveralThreads, ACheckWaitsInItsFailoverForAnUpdateThatAnotherThreadMakes)
{
    startWithSites({"s1"});
    std::future<Status> update;
    relist({"s2"});
    info({stopped.of(lists({"s2"}))});
    check("s1", {[&](const SentRequest&) {
              update = std::async(std::launch::async, [this] { return client->updateInfo(); });
              EXPECT_TRUE(stopped.isAsked());
              return reply(500);
          }});
    check("s2", {says(200, ok)});
    clock.onSleep = [&] {
        stopped.goOn();
        EXPECT_TRUE(ends(update)) << "while the check has its turn";
    };
    EXPECT_EQ(request().status(), 200);
    EXPECT_EQ(update.get(), Status::Finished);
    EXPECT_EQ(http.take().back().url.host(), "s2");
}

/// A host whose thread for notices is about to check codes: its first notice waits for that check.
struct BlockingHost : BaseActivityListener
{
    explicit BlockingHost(std::function<void()> checkCodes)
        : onFirstNotice(std::move(checkCodes))
    {
        Singleton<ActivityNotifier>::instance()->addListener(this, {EActivityListener::ErrorNotification});
    }
    ~BlockingHost() override { stopListening(); }
    void handleEvent(const Event& event) override
    {
        notices.append(events::ErrorNotification(event).notification().id());
        if (onFirstNotice) {
            std::exchange(onFirstNotice, {})();
        }
    }
    std::function<void()> onFirstNotice;
    QStringList notices;  // the ids of their texts, empty for a withdrawal
};

TEST_F(ClientInSeveralThreads, NoticesAreSentWhenNothingIsHeldThatACheckNeeds)
{
    const QString refused = "crptIncorrectTokenErrorNotification";
    struct Case
    {
        QStringList sites;  // none: the client is new and updates
        Answer list, reply;
        QStringList notices;
    };
    const Case cases[] = {{{}, says(401), says(500), {"", "", refused}},  // the check updates, too
                          {{"s1"}, says(500), says(401), {refused}},
                          {{"s1"}, says(500), says(500), {"", ""}}};
    for (const Case& c : cases) {
        c.sites.isEmpty() ? (make(), client->onStart()) : startWithSites(c.sites);
        check("s1", {c.reply, says(200, ok)});
        info({c.list, says(500)});
        BlockingHost host([&] { EXPECT_TRUE(ends(requestElsewhere())) << "or it waits for ever"; });
        c.sites.isEmpty() ? (void)client->updateInfo() : (void)request();
        EXPECT_EQ(host.notices, c.notices);
    }
}

TEST_F(ClientInSeveralThreads, AnUpdateWithdrawsNoNoticeThatComesWhileItRuns)
{
    startWithSites({"s1"});
    check("s1", {says(401)});
    info({[this](const SentRequest&) {
        (void)requestElsewhere().get();
        return reply(500);
    }});
    const BlockingHost host({});
    client->updateInfo();
    EXPECT_EQ(host.notices, QStringList({"", "crptIncorrectTokenErrorNotification"}));
}

TEST_F(ClientInSeveralThreads, ItsEndWaitsForAnEventThatItIsHandling)
{
    startWithSites({"s1"});
    http.onSetUp = [&] { (void)stopped.of(says(200))({}); };
    std::thread host([] { Singleton<ActivityNotifier>::instance()->sendEvent(Event(172)); });
    ASSERT_TRUE(stopped.isAsked());
    auto end = std::async(std::launch::async, [this] { client.reset(); });
    EXPECT_FALSE(ends(end, milliseconds(20)));
    stopped.goOn();
    EXPECT_TRUE(ends(end));
    host.join();
}

}  // namespace
