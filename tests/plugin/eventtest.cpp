#include <future>

#include "tests/plugin/crptservicetest.h"
#include <log4qt/logmanager.h>
#include <orvex/args.h>
#include <orvex/baseactivitylistener.h>

using control::Action;
using control::EActionType;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST_F(PluginEvent, OfThisServiceBringsHostsAndKeysInOrder)
{
    for (const char* other : {"turon", "esm", ""}) {
        send(initEvent(other));
    }
    service.handleEvent(initEvent("crpt", 255));
    EXPECT_THAT(service.client().registered, IsEmpty());
    send(initEvent("CRPT"));
    EXPECT_THAT(
        service.client().registered,
        ElementsAre("http://op1.example motp", "https://op2.example/x motp", "key-1 motp", "key-2 motp"));
}

TEST_F(PluginEvent, ToRefreshHasTheClientMadeAnewAndThenItsThreadUpdateTheList)
{
    struct Listener : BaseActivityListener
    {
        explicit Listener(Service& checked)
            : service(checked)
        {
            Singleton<ActivityNotifier>::instance()->addListener(this, {172});
        }
        ~Listener() override { stopListening(); }
        void handleEvent(const Event& /*event*/) override
        {
            service.drainThread();
            EXPECT_EQ(service.client().updates, 0) << "only after all who listen";
        }
        Service& service;
    } listener(service);
    service.drainThread();
    const int before = http.clientsSetUp();
    send(Event(172));
    service.drainThread();
    EXPECT_EQ(service.client().updates, 1);
    EXPECT_EQ(service.client().updatedIn, service.thread);
    EXPECT_EQ(http.clientsSetUp(), before + 1);
}

TEST_F(PluginEvent, ToRefreshWaitsForNothingAndSeveralAreOneUpdate)
{
    service.queueHold();
    ASSERT_TRUE(service.client().stopped.comes());
    auto sent = std::async(std::launch::async, [] {
        for (int i = 0; i < 3; ++i) {
            send(Event(172));
        }
    });
    EXPECT_EQ(sent.wait_for(seconds(20)), std::future_status::ready);
    service.client().proceed.announce();
    service.drainThread();
    EXPECT_EQ(service.client().updates, 1);
    send(Event(172));
    service.drainThread();
    EXPECT_EQ(service.client().updates, 2);
}

using ConnectionCheck = PluginEvent;

TEST_F(ConnectionCheck, IsAnsweredWithATaskWhenItIsForThisPlugin)
{
    const std::pair<const char*, bool> cases[] = {
        {"crpt", true},   {"CRPT", true}, {"CrptService", true}, {"crptservice", true},
        {"lmchz", false}, {"", false},    {"crpt2", false}};
    for (const auto& [name, addressed] : cases) {
        const Action action(EActionType(223));
        control::args::Plugin(action).setPluginName(name);
        EXPECT_THAT(perform(action), ElementsAre(addressed ? 1 : 2)) << name;
        EXPECT_EQ(action.contains("pingTask"), addressed);
    }
    EXPECT_THAT(perform(Action(EActionType(223))), ElementsAre(2));
}

TEST_F(ConnectionCheck, PingsTheHostsUntilOneAnswers)
{
    // The replies of the hosts in their order, how many are asked, the text.
    const std::tuple<QList<http::Response>, size_t, const char*> cases[] = {
        {{}, 0, "сервер доступен - false"},
        {{reply(200), reply(200)}, 1, "сервер доступен - true"},
        {{cutOff(), reply(200, {{"code", 5}}), reply(200)}, 2, "сервер доступен - true"},
        {{cutOff(), timedOut(), reply(500), reply(404)}, 4, "сервер доступен - false"}};
    for (const auto& [replies, asked, text] : cases) {
        service.client().hosts.clear();
        for (const http::Response& response : replies) {
            const QString host = "op" + QString::number(service.client().hosts.size());
            service.client().hosts.append(QUrl("https://" + host + "/health"));
            http.script(host + "/health", {[response](const SentRequest&) { return response; }});
        }
        const Action action(EActionType::CheckConnection);
        control::args::Plugin(action).setPluginName("crpt");
        perform(action);
        const auto task = action.value("pingTask").value<QSharedPointer<BasicTask>>();
        ASSERT_NE(task, nullptr);
        EXPECT_EQ(task->run()->toString(), text);
        EXPECT_THAT(log.takeNamed(),
                    ElementsAre("taskmanager.crptping: info Проверка актуального состояния серверов ЦРПТ"));
        const auto sent = http.take();
        EXPECT_EQ(sent.size(), asked);
        for (const SentRequest& request : sent) {
            EXPECT_EQ(request.method, "GET");
            EXPECT_EQ(request.timeout, seconds(10));
            EXPECT_EQ(request.logger->name(), "taskmanager.crptping");
            EXPECT_THAT(request.headers, IsEmpty());
        }
    }
}

}  // namespace
