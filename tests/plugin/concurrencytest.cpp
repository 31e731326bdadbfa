#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include <QJsonArray>

#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include "plugin/crptservice.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/scriptedclient.h"
#include "tests/doubles/settings.h"
#include "tests/doubles/simulatedclock.h"
#include <gmock/gmock.h>
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>

namespace {

EContext::Result perform(const control::Action& action)
{
    const auto results = Singleton<ActionDispatcher>::instance()->perform(action);
    return results.isEmpty() ? EContext::NotServed : results.first();
}

/// One verification of the code "A"; whether it was served.
bool verify()
{
    const control::Action action(control::EActionType::VerifyMarking);
    const control::args::marking::Verify arguments(action, "crpt");
    arguments.setMarkingCodes({MarkingCode("A")});
    arguments.setApiKey("key");
    const bool served = perform(action) == EContext::Done;
    const auto result = arguments.verifyResult();
    EXPECT_EQ(result.passedCodes.size() + result.failedCodes.size(), served ? 1 : 0);
    return served;
}

void sendInitEvent(int round)
{
    const events::marking::InitVerifyService init{Event(256)};
    init.setService("crpt");
    init.setSection(QString::number(round % 8));
    init.setHosts({"op", "op" + QString::number(round % 4)});
    init.setKeys({"key"});
    Singleton<ActivityNotifier>::instance()->sendEvent(init.event());
}

TEST(PluginUnderLoad, ServesEverythingAtOnceAndNothingAfterItsEnd)
{
    const Settings settings{{"Motp:id", "1"}};
    SimulatedClock clock;
    // Gives way, as the real pause does.
    clock.onSleep = [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); };
    const LogWatch log;
    ScriptedClient http;
    const QString base = "/api/v4/true-api";
    const auto says = [](int status, const QJsonObject& body) {
        return [response = reply(status, body)](const SentRequest&) { return response; };
    };
    http.script("op" + base + "/cdn/info",
                {says(200, {{"hosts", QJsonArray{QJsonObject{{"host", "http://s"}}}}})});
    http.script("s" + base + "/cdn/health/check", {says(200, {{"code", 0}})});
    http.script("s" + base + "/codes/check", {says(500, {}), says(404, {}), says(401, {}), says(429, {}),
                                              says(200, {{"codes", QJsonArray{QJsonObject{{"cis", "A"}}}}})});
    auto service = std::make_unique<CrptService>();
    ASSERT_TRUE(service->init());
    sendInitEvent(0);  // without a key a check may end without verdicts

    std::atomic<int> served = 0;
    std::atomic<bool> ended = false;
    const std::function<void(int)> jobs[] = {
        [&](int) { served += verify() ? 1 : 0; }, [&](int) { served += verify() ? 1 : 0; }, sendInitEvent,
        [&](int round) {
            clock.sleepFor(std::chrono::seconds(60));
            const int code = std::array{10, 11, 172}[size_t(round) % 3];
            Singleton<ActivityNotifier>::instance()->sendEvent(Event(code));
        }};
    std::vector<std::thread> threads;
    for (const auto& job : jobs) {
        threads.emplace_back([&] {
            for (int round = 0; !ended && round < 2000; ++round) {
                job(round);
            }
        });
    }
    for (int pings = 0; pings < 20 || served == 0; ++pings) {
        EXPECT_NE(service->pingCrptServers(), nullptr);
    }
    service.reset();
    EXPECT_FALSE(verify());
    ended = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(PluginUnderLoad, FallsBackToTheModuleWhileModulesAreSetUp)
{
    const Settings settings{{"Motp:id", "1"},           {"LMCHZ:enable", "true"},
                            {"LMCHZ:token", "key"},     {"LMCHZ:url", "http://m"},
                            {"LMCHZ:maintain", "true"}, {"LMCHZ:enableGreyList", "true"}};
    const SimulatedClock clock;
    const LogWatch log;
    ScriptedClient http;
    const QJsonObject passed{{"codes", QJsonArray{QJsonObject{{"cis", "A"}}}}};
    const auto always = [&http](const QString& address, const QJsonObject& body, int status = 200) {
        http.script(address, {[response = reply(status, body)](const SentRequest&) { return response; }});
    };
    always("op/api/v4/true-api/cdn/info", {{"hosts", QJsonArray{QJsonObject{{"host", "http://s"}}}}});
    always("s/api/v4/true-api/cdn/health/check", {{"code", 0}});
    always("s/api/v4/true-api/codes/check", {}, 203);
    always("m/api/v2/status", {{"status", "ready"}});
    always("m/api/v2/greyList", {});
    always("m/api/v2/cis/outCheck", {{"results", QJsonArray{passed}}});
    CrptService service;
    ASSERT_TRUE(service.init());
    sendInitEvent(0);

    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int round = 0; round < 20; ++round) {
                if (i == 0) {
                    Singleton<ActivityNotifier>::instance()->sendEvent(Event(96));
                } else {
                    EXPECT_TRUE(verify());
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const auto sent = http.take();
    EXPECT_EQ(
        std::count_if(sent.begin(), sent.end(),
                      [](const SentRequest& request) { return request.url.path().endsWith("outCheck"); }),
        3 * 20);
}

}  // namespace
