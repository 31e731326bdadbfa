#include <atomic>
#include <latch>
#include <thread>

#include <orvex/activitynotifier.h>

#include "tests/crpt/crptclienttest.h"

using std::chrono::seconds;

namespace {

/// For ThreadSanitizer, which sees a missing lock when two threads come close enough.
class ClientRaces : public CrptClientTest
{
protected:
    using Operation = std::function<void(int)>;

    ClientRaces()
    {
        // Gives way as a real pause does.
        clock.onSleep = [] { std::this_thread::sleep_for(milliseconds(1)); };
        // The log's locks would hide missing ones.
        Log4Qt::LogManager::configure({.level = Log4Qt::Level::Off, .file = ""});
    }

    /// One answer after the other, over and over.
    static Answer inTurn(const Answers& given)
    {
        const auto count = std::make_shared<std::atomic<size_t>>(0);
        return [=](const SentRequest& sent) { return given[(*count)++ % given.size()](sent); };
    }

    /// Has a new client do each of these so many times, each in a thread of its own.
    void runAtOnce(const std::vector<Operation>& operations, int rounds)
    {
        startWithSites({"s1", "s2"});
        info({inTurn({lists({"s1", "s2"}), says(500), says(500), lists({"s2"}), answers(cutOff())})});
        check("s1", {inTurn({says(500), answers(cutOff()), says(200, ok), says(401)})});
        check("s2", {inTurn({says(500, {{"code", 5000}}), answers(timedOut()), says(429)})});
        std::latch allAreThere(std::ptrdiff_t(operations.size()));
        std::vector<std::jthread> threads;
        threads.reserve(operations.size());
        for (const Operation& operation : operations) {
            threads.emplace_back([&allAreThere, &operation, rounds] {
                allAreThere.arrive_and_wait();
                for (int round = 0; round < rounds; ++round) {
                    operation(round);
                }
            });
        }
        threads.clear();  // joins them
    }

    const Settings settings{{"CRPT:updateInfoInterval", "1"}};
    const QUrl operatorHost{"http://op1"};
    const Operation checkCodes = [this](int) {
        const MarkingCode code("A");
        const auto result = client->checkMarkingCodes("key", {code}, seconds(10), seconds(5));
        EXPECT_NE(result.passedCodes.contains(code), result.failedCodes.contains(code));
    };
    const Operation update = [this](int) { client->updateInfo(); };
    const Operation hostEvent = [this](int round) {
        Singleton<ActivityNotifier>::instance()->sendEvent(Event(std::array{10, 11, 172}[size_t(round) % 3]));
        clock.advance(seconds(1));
    };
};

TEST_F(ClientRaces, AreNoneBetweenAnyTwoOperations)
{
    const Operation operations[] = {
        checkCodes,
        update,
        hostEvent,
        [this](int) { (void)client->checkHealth(client->getCdnInfo(operatorHost, "key"), "key"); },
        [this](int round) { client->addHost(QUrl("http://op" + QString::number(round % 200)), "nobody"); },
        [this](int round) { client->addKey("key", QString::number(round)); },
        [this](int) { EXPECT_FALSE(client->getHosts(CdnMethod::Info).isEmpty()); },
        [this](int) { EXPECT_FALSE(client->getApiKey(operatorHost).isEmpty()); }};
    for (const Operation& one : operations) {
        for (const Operation& other : operations) {
            runAtOnce({one, other}, 600);
        }
    }
}

TEST_F(ClientRaces, AreNoneBetweenChecksThatMeet)
{
    runAtOnce({checkCodes, checkCodes, hostEvent}, 16000);
}

}  // namespace
