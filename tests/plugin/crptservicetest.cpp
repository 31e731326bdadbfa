#include <future>
#include <new>

#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include "crpt/crptclient.h"
#include "plugin/crptservice.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/scriptedclient.h"
#include "tests/doubles/settings.h"
#include <gmock/gmock.h>
#include <orvex/actiondispatcher.h>
#include <orvex/args.h>
#include <orvex/dialog.h>

using control::Action;
using control::EActionType;
using control::args::marking::Verify;
using events::marking::InitVerifyService;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Keeps what the plug-in asks of it.
class ClientDouble : public CrptClient
{
public:
    CheckMarkingCodesResult checkMarkingCodes(const QString& apiKey, const QList<MarkingCode>& codes,
                                              milliseconds operation, milliseconds attempt) override
    {
        checks.append(apiKey + ' ' + QString::number(codes.size()));
        limits = {operation, attempt};
        if (onCheck) {
            onCheck();
        }
        CheckMarkingCodesResult result;
        result.passedCodes = codes;
        return result;
    }
    void addHost(const QUrl& url, const QString& owner) override
    {
        registered.append(url.toString() + ' ' + owner);
    }
    void addKey(const QString& key, const QString& owner) override { registered.append(key + ' ' + owner); }
    QList<QUrl> getHosts(CdnMethod method) const override
    {
        return method == CdnMethod::HealthCheck ? hosts : QList<QUrl>();
    }
    UpdateInfoStatus updateInfo() override
    {
        updated.set_value(QThread::currentThread());
        return UpdateInfoStatus::Finished;
    }

    QStringList checks, registered;
    std::pair<milliseconds, milliseconds> limits;
    std::function<void()> onCheck;
    QList<QUrl> hosts;
    std::promise<QThread*> updated;
};

class Service : public CrptService
{
public:
    Service()
        : CrptService(utils::ForMock())
    {
        crptClient = QSharedPointer<ClientDouble>::create();
        crptClient->moveToThread(thread);
    }
    ClientDouble& client() { return static_cast<ClientDouble&>(*crptClient); }
    using CrptService::thread;
};

QList<EContext::Result> perform(const Action& action)
{
    return Singleton<ActionDispatcher>::instance()->perform(action);
}

void send(const Event& event)
{
    Singleton<ActivityNotifier>::instance()->sendEvent(event);
}

/// The init event of a service.
Event initEvent(const QString& service, int code = 256)
{
    const InitVerifyService settings{Event(code)};
    settings.setService(service);
    settings.setSection("Motp");
    settings.setHosts({"op1.example", "https://op2.example/x"});
    settings.setKeys({"key-1", "key-2"});
    return settings.event();
}

class PluginTest : public testing::Test
{
protected:
    Settings settings{{"MarkedGoods:id", "1"}};
    ScriptedClient http;
    LogWatch log;
};

using PluginInit = PluginTest;

TEST_F(PluginInit, TakesUpTheWorkWhenAMarkingSectionUsesTheService)
{
    using Values = std::vector<std::pair<QString, QString>>;
    const std::pair<Values, bool> cases[] = {
        {{}, false},
        {{{"DraftBeer_2:id", "1"}}, true},
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
    Service again;
    again.init();
    again.deinit();
    EXPECT_TRUE(again.init());
    EXPECT_EQ(perform(Action(EActionType::VerifyMarking)).size(), 1);
}

TEST_F(PluginLife, HasNoCallsAfterItsEnd)
{
    const Action action(EActionType::VerifyMarking);
    for (const bool deinit : {true, false}) {
        auto service = std::make_unique<Service>();
        service->init();
        EXPECT_THAT(perform(action), ElementsAre(EContext::NotServed));
        if (deinit) {
            service->deinit();
            send(initEvent("crpt"));
            EXPECT_THAT(service->client().registered, IsEmpty());
        } else {
            service.reset();
            send(initEvent("crpt"));
        }
        send(Event(172));
        EXPECT_THAT(perform(action), IsEmpty());
        EXPECT_THAT(perform(Action(EActionType::CheckConnection)), IsEmpty());
    }
}

class PluginEvent : public PluginTest
{
protected:
    PluginEvent() { service.init(); }

    Service service;
};

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

TEST_F(PluginEvent, ToRefreshHasTheClientMadeAnewAndItsThreadUpdateTheList)
{
    const auto started = [] {};
    QMetaObject::invokeMethod(&service.client(), started, Qt::BlockingQueuedConnection);
    const int before = http.clientsSetUp();
    auto updated = service.client().updated.get_future();
    send(Event(172));
    EXPECT_EQ(updated.get(), service.thread);
    EXPECT_EQ(http.clientsSetUp(), before + 1);
}

class Verification : public PluginEvent
{
protected:
    Verification()
    {
        arguments.setMarkingCodes({MarkingCode("A"), MarkingCode("B")});
        arguments.setApiKey("Key");
    }

    const Action action{EActionType(253)};
    const Verify arguments{action, ""};
};

TEST_F(Verification, OfAnotherServiceIsNotServed)
{
    for (const char* other : {"", "turon", "esm", "unknown"}) {
        if (*other != '\0') {
            arguments.setService(other);
        }
        EXPECT_THAT(perform(action), ElementsAre(3)) << other;
        EXPECT_FALSE(action.contains("verifyResult"));
    }
    EXPECT_THAT(service.client().checks, IsEmpty());
}

TEST_F(Verification, RefusesTheGoodsWhenItIsBrokenOffByAnException)
{
    arguments.setService("crpt");
    service.client().onCheck = [] { throw std::bad_alloc(); };
    EXPECT_THAT(perform(action), ElementsAre(2));
    EXPECT_EQ(arguments.verifyResult().failedCodes.keys(), arguments.markingCodes());
    EXPECT_TRUE(arguments.verifyResult().hasError(CheckMarkingCodesResult::Unreachable));
}

TEST_F(Verification, HandsTimeLimitsOnInMilliseconds)
{
    arguments.setService("crpt");
    const std::pair<seconds, milliseconds> cases[] = {{seconds(0), milliseconds(0)},
                                                      {seconds(3), milliseconds(3000)},
                                                      {seconds(-1), milliseconds(-1000)},
                                                      {seconds::max(), milliseconds::max()},
                                                      {seconds::min(), milliseconds::min()}};
    for (const auto& [given, handedOn] : cases) {
        arguments.setOperationTimeout(given);
        arguments.setRequestTimeout(seconds(7));
        perform(action);
        EXPECT_EQ(service.client().limits, std::pair(handedOn, milliseconds(7000)));
    }
}

TEST_F(Verification, ShowsItsProgressWhileItRuns)
{
    struct DialogDouble : Dialog
    {
        DialogDouble() { MockFactory<Dialog>::mocked = this; }
        ~DialogDouble() override { MockFactory<Dialog>::mocked = nullptr; }
        SimpleProgress showProgress(const tr::Tr& title, const tr::Tr& text) override
        {
            if (shown == "broken") {
                throw std::bad_alloc();
            }
            shown = title.id() + '|' + title.ru() + '|' + text.id() + text.ru();
            return SimpleProgress([this] { shown = "closed"; });
        }
        QString shown;
    } dialog;
    perform(action);
    EXPECT_EQ(dialog.shown, "") << "nothing to do";
    arguments.setService("crpt");
    service.client().onCheck = [&dialog] {
        EXPECT_EQ(dialog.shown, "processRequestMessage|Обращение к серверу...|");
    };
    perform(action);
    EXPECT_EQ(dialog.shown, "closed");

    EXPECT_THAT(service.client().checks, ElementsAre("Key 2"));

    dialog.shown = "broken";
    service.client().onCheck = {};
    EXPECT_THAT(perform(action), ElementsAre(2));
    EXPECT_EQ(arguments.verifyResult().passedCodes, arguments.markingCodes());
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
    struct Case
    {
        QList<http::Response> replies;  // of the hosts in their order
        size_t asked;
        const char* text;
    };
    const Case cases[] = {{{}, 0, "сервер доступен - false"},
                          {{reply(200), reply(200)}, 1, "сервер доступен - true"},
                          {{cutOff(), reply(200, {{"code", 5}}), reply(200)}, 2, "сервер доступен - true"},
                          {{cutOff(), timedOut(), reply(500), reply(404)}, 4, "сервер доступен - false"}};
    for (const Case& c : cases) {
        service.client().hosts.clear();
        for (const http::Response& response : c.replies) {
            const QString host = "op" + QString::number(service.client().hosts.size());
            service.client().hosts.append(QUrl("https://" + host + "/health"));
            http.script(host + "/health", {[response](const SentRequest&) { return response; }});
        }
        const Action action(EActionType::CheckConnection);
        control::args::Plugin(action).setPluginName("crpt");
        perform(action);
        const auto task = action.value("pingTask").value<QSharedPointer<BasicTask>>();
        ASSERT_NE(task, nullptr);
        EXPECT_EQ(task->run()->toString(), c.text);
        EXPECT_THAT(log.takeNamed(),
                    ElementsAre("taskmanager.crptping: info Проверка актуального состояния серверов ЦРПТ"));
        const auto sent = http.take();
        EXPECT_EQ(sent.size(), c.asked);
        for (const SentRequest& request : sent) {
            EXPECT_EQ(request.method, "GET");
            EXPECT_EQ(request.timeout, seconds(10));
            EXPECT_EQ(request.logger->name(), "taskmanager.crptping");
            EXPECT_THAT(request.headers, IsEmpty());
        }
    }
}

}  // namespace
