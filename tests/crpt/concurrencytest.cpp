#include <atomic>
#include <future>
#include <thread>

#include <QThread>

#include <orvex/activitynotifier.h>

#include "tests/crpt/crptclienttest.h"

using http::ErrorKind;
using std::chrono::seconds;

namespace {

constexpr seconds Patience(30);  // a bound for a test that fails, not a pace

/// A moment that one thread announces and others wait for.
class Moment
{
public:
    void come()
    {
        if (!m_come.exchange(true)) {
            m_promise.set_value();
        }
    }
    [[nodiscard]] bool wait() const { return m_future.wait_for(Patience) == std::future_status::ready; }

private:
    std::atomic<bool> m_come = false;
    std::promise<void> m_promise;
    const std::shared_future<void> m_future = m_promise.get_future().share();
};

class ClientInItsThread : public CrptClientTest
{
protected:
    ~ClientInItsThread() override
    {
        thread.quit();
        thread.wait();
        client.reset();
    }

    void startThread(const QStringList& sites)
    {
        startWithSites(sites);
        client->moveToThread(&thread);
        thread.start();
    }
    /// Has the client's thread update its list.
    void updateInThread(Moment& ended)
    {
        QMetaObject::invokeMethod(client.get(), [this, &ended] {
            client->updateInfo();
            ended.come();
        });
    }

    QThread thread;
};

TEST_F(ClientInItsThread, UpdatesWhileACheckHasRunOutOfSites)
{
    for (const bool walking : {true, false}) {
        startThread(walking ? QStringList("s1") : QStringList());
        Moment updating, waiting, updated;
        relist({"s2"});
        info("op1", {[&](const SentRequest&) {
                 updating.come();
                 EXPECT_TRUE(waiting.wait()) << "for the check to wait for this update";
                 return lists({"s2"})({});
             }});
        check("s1", {[&](const SentRequest&) {
                  updateInThread(updated);
                  EXPECT_TRUE(updating.wait());
                  return reply(500);
              }});
        check("s2", {says(200, Ok)});
        clock.onSleep = [&] {
            waiting.come();
            EXPECT_TRUE(updated.wait()) << "while the check waits, the update must be able to end";
        };
        if (!walking) {
            updateInThread(updated);
            EXPECT_TRUE(updating.wait());
        }
        const auto begin = clock.monotonic();
        EXPECT_EQ(request().status(), 200);
        EXPECT_EQ(asked().last(), "check s2");
        EXPECT_GE(clock.monotonic() - begin, milliseconds(100));
        clock.onSleep = nullptr;
        thread.quit();
        thread.wait();
    }
}

TEST_F(CrptClientTest, ChecksThatComeBeforeTheStartWaitForItWithinTheirTime)
{
    client = std::make_unique<CrptClient>();
    client->addHost(QUrl("http://op1"), "owner");
    client->addKey("key", "owner");
    relist({"s1"});
    check("s1", {says(200, Ok)});
    EXPECT_EQ(request(milliseconds(1)).status(), 200) << "never started";

    client = std::make_unique<CrptClient>();
    EXPECT_EQ(request(milliseconds(1)).errorKind(), ErrorKind::SalePermitted) << "never started, no keys";

    client->addHost(QUrl("http://op1"), "owner");
    client->addKey("key", "owner");
    auto checked = std::async(std::launch::async, [this] { return request(Patience).status(); });
    EXPECT_EQ(checked.wait_for(milliseconds(50)), std::future_status::timeout) << "not without the start";
    client->onStart();
    ASSERT_EQ(checked.wait_for(Patience), std::future_status::ready);
    EXPECT_EQ(checked.get(), 200);
}

TEST_F(ClientInItsThread, ServesChecksUpdatesAndHostEventsAtOnce)
{
    constexpr int rounds = 40;
    startThread({"s1", "s2"});
    clock.onSleep = [] { std::this_thread::yield(); };
    check("s1", {says(200, Ok), says(500), answers(cutOff()), says(200, Ok), says(401), answers(timedOut()),
                 says(500)});
    check("s2", {says(200, Ok), says(500), says(500, {{"code", 5000}}), says(200, Ok), says(429)});
    const MarkingCode code("A");
    std::atomic<int> verdicts = 0;
    std::vector<std::function<void(int)>> jobs(2, [&](int) {
        const auto result = client->checkMarkingCodes("key", {code}, seconds(10), seconds(5));
        verdicts += result.passedCodes.contains(code) != result.failedCodes.contains(code) ? 1 : 0;
    });
    jobs.push_back([&](int) { QMetaObject::invokeMethod(client.get(), "updateInfo"); });
    jobs.push_back([&](int round) {
        client->addHost(QUrl("http://op" + QString::number(round % 4)), QString::number(round));
        client->addKey("key", QString::number(round % 8));
    });
    jobs.push_back([&](int) {
        EXPECT_TRUE(client->getHosts(CdnMethod::HealthCheck)
                        .contains(QUrl("http://op1" + Base + "/cdn/health/check")));
        (void)client->getApiKey(QUrl("http://op1"));
    });
    jobs.push_back([&](int round) {
        Singleton<ActivityNotifier>::instance()->sendEvent(Event(std::array{10, 11, 172}[size_t(round) % 3]));
        clock.advance(seconds(60));
    });
    std::vector<std::thread> threads;
    for (const auto& job : jobs) {
        threads.emplace_back([&job] {
            for (int round = 0; round < rounds; ++round) {
                job(round);
            }
        });
    }
    for (std::thread& running : threads) {
        running.join();
    }
    EXPECT_EQ(verdicts, 2 * rounds);
    Moment drained;
    updateInThread(drained);
    EXPECT_TRUE(drained.wait());
}

}  // namespace
