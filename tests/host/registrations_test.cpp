#include <functional>
#include <future>
#include <semaphore>

#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/baseactivitylistener.h>
#include <orvex/basicplugin.h>

namespace {

using namespace std::chrono_literals;

constexpr auto eventCode = EActivityListener::NetworkUp;
const control::Action action(control::EActionType::VerifyMarking);

/// Runs `body` at each call of a listener, a handler and a trigger of the plug-in.
struct Plugin : BaseActivityListener, BasicPlugin
{
    explicit Plugin(std::function<void()> pluginBody)
        : body(std::move(pluginBody))
    {
    }
    ~Plugin() override { Plugin::deinit(); }

    bool init() override
    {
        Singleton<ActivityNotifier>::instance()->addListener(this, {eventCode, eventCode});
        Singleton<ActivityNotifier>::instance()->addListener(this, {eventCode});
        return true;
    }
    void handleEvent(const Event&) override { body(); }
    void handle()
    {
        addHandler(eventCode, [this](const Event&) { body(); });
    }
    void trigger()
    {
        const auto call = [this](const control::Action&) {
            body();
            return EContext::Done;
        };
        addTrigger({EContext::Any, action.getType(), ActionTrigger::Before, call, ActionTrigger::Whatever,
                    ActionTrigger::Normal});
    }

    std::function<void()> body;
};

struct Kind
{
    const char* name;
    std::function<void(Plugin&)> add;
    std::function<void()> call;
};

class Registrations : public testing::TestWithParam<Kind>
{
};

TEST_P(Registrations, TakenBackFromWithinACallIsNotCalledAgain)
{
    int calls = 0;
    Plugin plugin([&] {
        ++calls;
        plugin.deinit();
    });
    GetParam().add(plugin);
    GetParam().add(plugin);
    GetParam().call();
    GetParam().call();
    EXPECT_EQ(calls, 1);
}

TEST_P(Registrations, TakenBackWaitForACallThatRunsAndSaySoWhileNoneBegins)
{
    LogWatch log;
    std::atomic<int> calls = 0;
    std::binary_semaphore entered(0), goOn(0), said(0);
    Plugin plugin([&] {
        if (++calls == 1) {
            entered.release();
            goOn.acquire();
        }
    });
    GetParam().add(plugin);
    auto call = std::async(std::launch::async, GetParam().call);
    entered.acquire();
    Log4Qt::LogManager::setWatcher([&](const Log4Qt::LogRecord& record) {
        EXPECT_TRUE(record.text.contains("снятие ждёт")) << qPrintable(record.text);
        said.release();
    });
    auto end = std::async(std::launch::async, [&] { plugin.deinit(); });
    EXPECT_TRUE(said.try_acquire_for(10s));
    GetParam().call();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(end.wait_for(0s), std::future_status::timeout);
    goOn.release();
    end.get();
    call.get();
}

INSTANTIATE_TEST_SUITE_P(
    OfAPlugin, Registrations,
    testing::Values(Kind{"Listener", [](Plugin& plugin) { plugin.init(); },
                         [] { Singleton<ActivityNotifier>::instance()->sendEvent(Event(eventCode)); }},
                    Kind{"Handler", [](Plugin& plugin) { plugin.handle(); },
                         [] { Singleton<ActivityNotifier>::instance()->sendEvent(Event(eventCode)); }},
                    Kind{"Trigger", [](Plugin& plugin) { plugin.trigger(); },
                         [] { Singleton<ActionDispatcher>::instance()->perform(action); }}),
    [](const auto& kind) { return kind.param.name; });

TEST(Registration, OfAListenerIsMadeOnceForEachEvent)
{
    int calls = 0;
    Plugin plugin([&] { ++calls; });
    plugin.init();
    plugin.init();
    Singleton<ActivityNotifier>::instance()->sendEvent(Event(eventCode));
    EXPECT_EQ(calls, 1);
}

TEST(Trigger, IsCalledInOrderAndCountsAsNotServedWhenItThrows)
{
    QStringList called;
    Plugin plugin([] {});
    const auto add = [&](const char* name, ActionTrigger::Order order, ActionTrigger::Priority priority) {
        const auto call = [&called, name](const control::Action&) {
            called << name;
            return *name == 'x' ? throw std::runtime_error("x") : EContext::Done;
        };
        plugin.addTrigger({EContext::Any, action.getType(), order, call, ActionTrigger::Whatever, priority});
    };
    add("after", ActionTrigger::After, ActionTrigger::Highest);
    add("x", ActionTrigger::Before, ActionTrigger::Normal);
    add("first", ActionTrigger::Before, ActionTrigger::High);
    add("last", ActionTrigger::After, ActionTrigger::Highest);
    const auto perform = [] { return Singleton<ActionDispatcher>::instance()->perform(action); };
    EXPECT_EQ(perform(), (QList{EContext::Done, EContext::NotServed, EContext::Done, EContext::Done}));
    EXPECT_EQ(called, (QStringList{"first", "x", "after", "last"}));
    plugin.disableTriggers();
    EXPECT_TRUE(perform().isEmpty());
    plugin.enableTriggers();
    EXPECT_EQ(perform().size(), 4);
}

}  // namespace
