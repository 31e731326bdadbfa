#include <atomic>
#include <future>
#include <semaphore>
#include <thread>

#include <orvex/activitynotifier.h>
#include <orvex/baseactivitylistener.h>

#include "tests/crpt/crptclienttest.h"

using http::ErrorKind;
using std::chrono::seconds;

namespace {

constexpr seconds Patience(30);  // a bound for a test that fails, not a pace

/// Something that one thread announces and another waits for.
using Moment = std::counting_semaphore<>;

using ClientInSeveralThreads = CrptClientTest;

TEST_F(ClientInSeveralThreads, UpdatesWhileACheckHasRunOutOfSites)
{
    for (const bool walking : {true, false}) {
        startWithSites(walking ? QStringList("s1") : QStringList());
        Moment updating(0), waiting(0);
        std::future<Status> update;
        const auto updateInAnotherThread = [this] {
            return std::async(std::launch::async, [this] { return client->updateInfo(); });
        };
        relist({"s2"});
        info({[&](const SentRequest&) {
            updating.release();
            EXPECT_TRUE(waiting.try_acquire_for(Patience)) << "for the check to wait for this update";
            return lists({"s2"})({});
        }});
        check("s1", {[&](const SentRequest&) {
                  update = updateInAnotherThread();
                  EXPECT_TRUE(updating.try_acquire_for(Patience));
                  return reply(500);
              }});
        check("s2", {says(200, Ok)});
        clock.onSleep = [&] {
            waiting.release();
            EXPECT_EQ(update.wait_for(Patience), std::future_status::ready) << "while the check waits";
        };
        if (!walking) {
            update = updateInAnotherThread();
            EXPECT_TRUE(updating.try_acquire_for(Patience));
        }
        const auto begin = clock.monotonic();
        EXPECT_EQ(request().status(), 200);
        EXPECT_EQ(update.get(), Status::Finished);
        EXPECT_EQ(http.take().back().url.host(), "s2");
        EXPECT_GE(clock.monotonic() - begin, milliseconds(100));
    }
}

TEST_F(ClientInSeveralThreads, CountsTheWaitForAnotherChecksWalkIntoTheBudget)
{
    startWithSites({"s1"});
    std::future<http::Response> second;
    Moment begun(0);
    check("s1", {[&](const SentRequest&) {
                     clock.onLook = [&] { begun.release(); };
                     second = std::async(std::launch::async, [this] { return request(seconds(10)); });
                     EXPECT_TRUE(begun.try_acquire_for(Patience));
                     clock.advance(seconds(4));
                     return reply(200, Ok);
                 },
                 [&](const SentRequest&) {
                     clock.advance(seconds(7));
                     return timedOut();
                 },
                 says(200, Ok)});
    EXPECT_EQ(request().status(), 200);
    const http::Response late = second.get();
    clock.onLook = {};
    EXPECT_EQ(late.status(), 0) << "nobody else may be asked any more";
    EXPECT_EQ(late.errorKind(), ErrorKind::SalePermitted);
}

/// A host that does something at once when it is told something, once.
struct HastyHost : BaseActivityListener
{
    HastyHost()
    {
        Singleton<ActivityNotifier>::instance()->addListener(this, {EActivityListener::ErrorNotification});
    }
    ~HastyHost() override { stopListening(); }
    void handleEvent(const Event& /*event*/) override
    {
        if (onNotice) {
            std::exchange(onNotice, {})();
        }
    }
    std::function<void()> onNotice;
};

TEST_F(ClientInSeveralThreads, EndsChecksThatAHostMakesFromWithinANotice)
{
    http::Response inner;
    HastyHost host;
    const auto checkOnNotice = [&] { host.onNotice = [&] { inner = request(); }; };

    make();
    client->onStart();
    checkOnNotice();
    client->updateInfo();  // withdraws the notice; the check has no site and cannot wait for this update
    EXPECT_EQ(inner.errorKind(), ErrorKind::SalePermitted);

    startWithSites({"s1"});
    check("s1", {says(500)});
    info({says(500)});
    checkOnNotice();
    EXPECT_EQ(request().errorKind(), ErrorKind::Unreachable);  // searches again, and so withdraws
    EXPECT_EQ(inner.errorKind(), ErrorKind::SalePermitted);

    startWithSites({"s1"});
    check("s1", {says(401), says(200, Ok)});
    checkOnNotice();
    EXPECT_EQ(request().status(), 401);
    EXPECT_EQ(inner.status(), 200);
}

TEST_F(ClientInSeveralThreads, HasChecksThatComeBeforeItsStartWaitForItWithinTheirTime)
{
    make();
    relist({"s1"});
    check("s1", {says(200, Ok)});
    EXPECT_EQ(request(milliseconds(1)).status(), 200) << "never started";

    make();
    auto checked = std::async(std::launch::async, [this] { return request(2 * Patience).status(); });
    EXPECT_EQ(checked.wait_for(milliseconds(50)), std::future_status::timeout) << "not without the start";
    client->onStart();
    ASSERT_EQ(checked.wait_for(Patience), std::future_status::ready);
    EXPECT_EQ(checked.get(), 200);
}

TEST_F(ClientInSeveralThreads, ServesChecksUpdatesAndHostEventsAtOnce)
{
    constexpr int rounds = 15;
    startWithSites({"s1", "s2"});
    clock.onSleep = [] { std::this_thread::sleep_for(milliseconds(1)); };  // gives way as the real pause does
    // The log's locks would hide missing ones.
    Log4Qt::LogManager::configure({.level = Log4Qt::Level::Off, .file = ""});
    check("s1", {says(200, Ok), says(500), answers(cutOff()), says(401), answers(timedOut()), says(500)});
    check("s2", {says(200, Ok), says(500), says(500, {{"code", 5000}}), says(200, Ok), says(429)});
    std::atomic<int> checking = 2;
    std::atomic<int> verdicts = 0;
    const auto checks = [&] {
        const MarkingCode code("A");
        for (int round = 0; round < rounds; ++round) {
            const auto result = client->checkMarkingCodes("key", {code}, seconds(10), seconds(5));
            verdicts += result.passedCodes.contains(code) != result.failedCodes.contains(code) ? 1 : 0;
        }
        --checking;
    };
    const std::function<void(int)> jobs[] = {
        [&](int) { client->updateInfo(); },
        [&](int round) {
            client->addHost(QUrl("http://op" + QString::number(round % 4)), "nobody");
            client->addKey("key", QString::number(round % 64));
        },
        [&](int) { EXPECT_FALSE(client->getHosts(CdnMethod::HealthCheck).isEmpty()); },
        [&](int round) {
            Singleton<ActivityNotifier>::instance()->sendEvent(
                Event(std::array{10, 11, 172}[size_t(round) % 3]));
            clock.advance(seconds(1));
        }};
    std::vector<std::thread> threads;
    threads.emplace_back(checks);
    threads.emplace_back(checks);
    for (const auto& job : jobs) {
        threads.emplace_back([&] {
            for (int round = 0; checking > 0; ++round) {
                job(round);
            }
        });
    }
    for (std::thread& running : threads) {
        running.join();
    }
    EXPECT_EQ(verdicts, 2 * rounds);
}

}  // namespace
