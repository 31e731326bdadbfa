#include <array>
#include <functional>
#include <vector>

#include <QJsonArray>

#include "tests/doubles/stoppedanswer.h"
#include "tests/lmchz/localmodule.h"

using namespace std::chrono_literals;

namespace {

template <class Work>
std::future<void> inAnotherThread(Work work)
{
    return std::async(std::launch::async, [work] { (void)work(); });
}

class LocalModuleTurns : public LocalModule
{
protected:
    LocalModuleTurns()
    {
        settings.set("LMCHZ:maintain", "true");
        client.emplace();
        answer("status", reply(200, {{"status", "ready"}}));
        answer("greyList", reply(200));
        answer("init", reply(200));
        answer("cis/outCheck", reply(200));
    }
    CheckMarkingCodesResult check(const char* token)
    {
        return client->checkMarkingCodes({}, {MarkingCode("A")}, token);
    }
    /// Begins everything that must wait while an exchange is running, each in a thread of its own.
    std::vector<std::future<void>> beginAll()
    {
        std::vector<std::future<void>> begun;
        for (const std::function<void()>& operation : std::initializer_list<std::function<void()>>{
                 [this] { client->getStatus("key-2"); }, [this] { check("key-2"); },
                 [this] { client->toggleGreyListByToken("key-2", true); },
                 [this] { (void)client->createClient(); },
                 [this] { (void)client->getUrl(LmchzClient::Status); },
                 [this] { (void)client->getHeaders(); },
                 [this] { EXPECT_TRUE(client->takeTurn(1h).owns_lock()); }}) {
            begun.push_back(inAnotherThread(operation));
        }
        return begun;
    }
};

TEST_F(LocalModuleTurns, EveryOperationWaitsForTheExchangeBeforeIt)
{
    const std::function<void()> status = [this] { client->getStatus("key"); };
    const std::function<void()> aCheck = [this] { check("key"); };
    const std::function<void()> init = [this] { client->init(Event(EActivityListener::LocalModulesSetUp)); };
    const std::function<void()> greyList = [this] { client->toggleGreyListByToken("key", true); };
    // The operation, which request of it is stopped, what the module says of itself, how many requests
    // follow.
    const std::tuple<std::function<void()>, const char*, const char*, size_t> cases[] = {
        {status, "status", "ready", 0},       {aCheck, "status", "ready", 1},
        {aCheck, "cis/outCheck", "ready", 0}, {init, "status", "not_configured", 1},
        {init, "init", "not_configured", 0},  {greyList, "greyList", "ready", 0}};
    for (const auto& [operation, request, state, following] : cases) {
        answer("status", reply(200, {{"status", "ready"}}));
        client->getStatus("key");
        StoppedAnswer stopped;
        const http::Response says = reply(200, {{"status", state}});
        answer("status", says);
        answer(request, stopped.of([says](const SentRequest&) { return says; }));
        auto first = inAnotherThread(operation);
        ASSERT_TRUE(stopped.isAsked());
        (void)http.take();
        auto waiting = beginAll();
        inAnotherThread([this] { EXPECT_FALSE(client->takeTurn(1ms).owns_lock()); }).wait();
        EXPECT_EQ(waiting.front().wait_for(20ms), std::future_status::timeout);
        for (const auto& one : waiting) {
            EXPECT_EQ(one.wait_for(0s), std::future_status::timeout);
        }
        EXPECT_TRUE(http.take().empty());
        stopped.goOn();
        first.wait();
        waiting.clear();  // each waits for its end
        const auto sent = http.take();
        ASSERT_GE(sent.size(), following + 3);
        EXPECT_TRUE(following == 0 || sent[0].url.host() == "m") << request;
    }
}

TEST_F(LocalModuleTurns, OneTurnIsOneExchange)
{
    auto turn = client->takeTurn(0s);
    ASSERT_TRUE(turn.owns_lock());
    client->getStatus("key");
    auto other = inAnotherThread([this] { check("key-2"); });
    EXPECT_EQ(other.wait_for(20ms), std::future_status::timeout);
    check("key");
    EXPECT_EQ(http.take().size(), 3U);
    turn.unlock();
    other.wait();
    EXPECT_EQ(http.take().at(0).url.host(), "m2");
}

TEST_F(LocalModuleTurns, NoticesAreShownWhenTheWholeExchangeIsOver)
{
    const QString init = "Lmchz|lmchzInitError|Ошибка инициализации ЛМЧЗ";
    const QString grey = "Lmchz|lmchzGreyListError|Ошибка настройки серого списка GTIN";
    answer("init", cutOff());
    answer("greyList", cutOff());
    client->toggleGreyListByToken("key", true);
    EXPECT_EQ(shown(), QStringList(grey));

    bool isNested = false;
    answer("status", [&](const SentRequest&) {
        if (!std::exchange(isNested, true)) {
            client->toggleGreyListByToken("key", true);
            client->init(Event(EActivityListener::LocalModulesSetUp));
            EXPECT_EQ(shown(), QStringList()) << "within another exchange of the same thread";
        }
        return reply(200, {{"status", "not_configured"}});
    });
    check("key");
    EXPECT_EQ(shown(), QStringList({grey, init}));
    {
        const auto turn = client->takeTurn(0s);
        client->init(Event(EActivityListener::LocalModulesSetUp));
        client->toggleGreyListByToken("key", true);
        client->sendErrorNotification(tr::Tr("id", "text"));
        EXPECT_EQ(log.take().last(), "error text");
        EXPECT_EQ(shown(), QStringList());
    }
    EXPECT_EQ(shown(), QStringList({init, grey, "Lmchz|id|text"}));
    client->sendErrorNotification(tr::Tr("id", "text"));
    EXPECT_EQ(shown(), QStringList("Lmchz|id|text"));
}

TEST_F(LocalModuleTurns, EndsWhenARunningInitHasEnded)
{
    settings.set("LMCHZ 2:maintain", "true");
    client.emplace();
    StoppedAnswer stopped;
    answer("status", stopped.of([](const SentRequest&) { return reply(200); }));
    auto running = inAnotherThread([] { sendEvent96(); });
    ASSERT_TRUE(stopped.isAsked());
    auto end = inAnotherThread([this] { client.reset(); });
    EXPECT_EQ(end.wait_for(20ms), std::future_status::timeout);
    stopped.goOn();
    running.wait();
    end.wait();
    EXPECT_EQ(http.take().size(), 2U) << "both modules are asked";
    sendEvent96();
    EXPECT_TRUE(http.take().empty()) << "nobody is left";
}

}  // namespace
