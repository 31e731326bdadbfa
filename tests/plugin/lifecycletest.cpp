#include <future>
#include <memory>

#include "tests/plugin/crptservicetest.h"

using control::Action;
using control::EActionType;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using PluginInit = PluginTest;

TEST_F(PluginInit, TakesUpTheWorkWhenAMarkingSectionUsesTheService)
{
    using Values = std::vector<std::pair<QString, QString>>;
    const std::pair<Values, bool> cases[] = {
        {{}, false},
        {{{"DraftBeer_2:id", "1"}}, true},
        {{{"MarkedGoods_2:id", "1"}}, true},
        {{{"Motp:id", "1"}}, true},
        {{{"Mootp:markverifycrptservice", "crpt"}}, true},
        {{{"Motp:markverifycrptservice", "CRPT"}}, false},
        {{{"MarkedGoods:markverifycrptservice", "esm"},
          {"Motp1:markverifycrptservice", "turon"},
          {"Motp2:id", "1"}},
         true},
        {{{"markedgoods:id", "1"}, {"Goods:markverifycrptservice", "crpt"}, {"LMCHZ:enable", "true"}},
         false}};
    for (const auto& [values, used] : cases) {
        Singleton<Config>::instance()->clear();
        for (const auto& [key, value] : values) {
            settings.set(key, value);
            SCOPED_TRACE(key.toStdString());
        }
        auto service = std::make_unique<Service>();
        EXPECT_EQ(service->init(), used);
        EXPECT_EQ(perform(Action(EActionType(253))).size(), used ? 1 : 0);
        send(initEvent("crpt"));
        EXPECT_EQ(service->client().registered.isEmpty(), !used);
        EXPECT_EQ(service->thread->isRunning(), used);
        service->deinit();
        service.reset();
        EXPECT_EQ(log.takeNamed(),
                  used ? QStringList()
                       : QStringList("crptservice: warn В настоящий момент сервис верификации 'crpt' не "
                                     "используется ни одним плагином для проверок маркировок"));
    }
}

using PluginLife = PluginTest;

TEST_F(PluginLife, LogsTheEndOfItsThreadUnlessTheHostEndedItsWorkBefore)
{
    {
        Service service;
        service.init();
    }
    EXPECT_THAT(log.takeNamed(), ElementsAre("crptservice: info Работа CRPT остановлена",
                                             "crptservice: info Поток CRPT завершен"));
    {
        Service service;
        service.init();
        service.deinit();
        EXPECT_TRUE(service.thread->isRunning()) << "until the object goes";
    }
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(PluginLife, RegistersNothingTwiceWhenItIsInitialisedAgain)
{
    Service service;
    EXPECT_TRUE(service.init());
    EXPECT_TRUE(service.init());
    EXPECT_EQ(perform(Action(EActionType::VerifyMarking)).size(), 1);
    EXPECT_EQ(perform(Action(EActionType::CheckConnection)).size(), 1);
    send(initEvent("crpt"));
    EXPECT_EQ(service.client().registered.size(), 4);
    service.drainThread();
    const int before = http.clientsSetUp();
    send(Event(172));
    service.drainThread();
    EXPECT_EQ(service.client().updates, 1);
    EXPECT_EQ(http.clientsSetUp(), before + 1);
    service.deinit();
    EXPECT_TRUE(service.init());
    EXPECT_EQ(perform(Action(EActionType::VerifyMarking)).size(), 1);
}

TEST_F(PluginLife, HasAClientOfLocalModulesWhenASectionEnablesOne)
{
    const std::pair<const char*, bool> cases[] = {{nullptr, false}, {"false", false}, {"true", true}};
    for (const auto& [enable, made] : cases) {
        settings.set("LMCHZ 1:token", "key");
        if (enable != nullptr) {
            settings.set("LMCHZ 2:enable", enable);
        }
        Service service;
        EXPECT_TRUE(service.init());
        EXPECT_EQ(service.lmchzClient != nullptr, made);
    }
}

TEST_F(PluginLife, EndsWithoutTheUpdatesThatAreQueuedAndWithoutNewCalls)
{
    auto service = std::make_unique<Service>();
    service->init();
    const auto kept = service->crptClient;
    auto& client = service->client();
    service->remindAfter = milliseconds(1);
    service->queueHold();
    ASSERT_TRUE(client.stopped.comes());
    service->queueHold();
    send(Event(172));
    client.proceed.announce();
    ASSERT_TRUE(client.stopped.comes());  // the thread has fetched both, and runs what it has fetched
    auto end = std::async(std::launch::async, [&] { service.reset(); });
    QStringList lines;
    for (int i = 0; lines.isEmpty() && i < 1000; ++i) {
        EXPECT_EQ(end.wait_for(milliseconds(20)), std::future_status::timeout) << "for its thread";
        lines = log.takeNamed();
    }
    EXPECT_THAT(lines, ElementsAre("crptservice: warn Выгрузка ожидает завершения потока CRPT: его "
                                   "удерживает обработчик уведомления или запрос"));
    EXPECT_THAT(perform(Action(EActionType::VerifyMarking)), IsEmpty());
    client.proceed.announce();
    end.wait();
    EXPECT_EQ(client.updates, 0);
}

TEST_F(PluginLife, HasItsOnlineClientWorkInItsThread)
{
    struct : CrptService
    {
        using CrptService::crptClient;
        using CrptService::thread;
    } service;
    EXPECT_EQ(service.crptClient->thread(), service.thread);
}

TEST_F(PluginLife, HasNoCallsAfterItsEnd)
{
    const Action action(EActionType::VerifyMarking);
    for (const bool deinit : {true, false}) {
        auto service = std::make_unique<Service>();
        const auto client = service->crptClient;
        service->init();
        EXPECT_THAT(perform(action), ElementsAre(EContext::NotServed));
        deinit ? service->deinit() : service.reset();
        send(initEvent("crpt"));
        send(Event(172));
        EXPECT_THAT(client.staticCast<ClientDouble>()->registered, IsEmpty());
        EXPECT_THAT(perform(action), IsEmpty());
        EXPECT_THAT(perform(Action(EActionType::CheckConnection)), IsEmpty());
    }
}

}  // namespace
