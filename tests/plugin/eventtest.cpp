#include <future>

#include "tests/plugin/crptservicetest.h"
#include <orvex/baseactivitylistener.h>

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
    service.holdThread();
    auto sent = std::async(std::launch::async, [] {
        for (int i = 0; i < 3; ++i) {
            send(Event(172));
        }
    });
    EXPECT_EQ(sent.wait_for(seconds(20)), std::future_status::ready);
    service.client().proceed.release();
    service.drainThread();
    EXPECT_EQ(service.client().updates, 1);
    send(Event(172));
    service.drainThread();
    EXPECT_EQ(service.client().updates, 2);
}

}  // namespace
