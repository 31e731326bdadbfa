#include <orvex/activitynotifier.h>

#include "tests/crpt/crptclienttest.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST_F(CrptClientTest, MakesUrlsThatKeepTheHostsOwnPathInFront)
{
    start(false);
    const std::tuple<const char*, int, const char*> cases[] = {
        {"https://h", 1, "https://h/api/v4/true-api/cdn/info"},
        {"https://h/", 2, "https://h/api/v4/true-api/cdn/health/check"},
        {"http://h:8080", 3, "http://h:8080/api/v4/true-api/codes/check"},
        {"https://h/pre/fix", 3, "https://h/pre/fix/api/v4/true-api/codes/check"},
        {"https://h/prefix/", 1, "https://h/prefix/api/v4/true-api/cdn/info"},
        {"https://h/prefix//", 1, "https://h/prefix//api/v4/true-api/cdn/info"},
        {"https://h/%D1%87%20z/", 1, "https://h/%D1%87%20z/api/v4/true-api/cdn/info"},
        {"https://h", 0, "https://h/api/v4/true-api"},
        {"https://h/", 4, "https://h/api/v4/true-api"}};
    for (const auto& [host, method, url] : cases) {
        EXPECT_EQ(client->getUrl(host, CdnMethod(method)).toString(QUrl::FullyEncoded), url);
    }
}

class HostsAndKeys : public CrptClientTest
{
protected:
    const QUrl a{"http://a"}, b{"http://b"};
};

TEST_F(HostsAndKeys, GiveTheKeysOfTheHostsOwnerNewestFirst)
{
    start(false);
    client->addHost(b, "milk");
    client->addHost(a, "beer");
    client->addKey("key-1", "milk");
    client->addKey("key-2", "milk");
    client->addKey("key-1", "milk");
    client->addKey("key-3", "Beer");
    EXPECT_THAT(client->getApiKey(b), ElementsAre("key-1", "key-2", "key-1"));
    EXPECT_THAT(client->getApiKey(a), IsEmpty()) << "owners are case-sensitive";
    EXPECT_THAT(client->getApiKey(QUrl("http://c")), IsEmpty());
    EXPECT_THAT(client->getHosts(CdnMethod::HealthCheck),
                ElementsAre(QUrl("http://a" + Base + "/cdn/health/check"),
                            QUrl("http://b" + Base + "/cdn/health/check")));
    EXPECT_THAT(log.take(),
                ElementsAre("info Добавлен хост: http://b (milk)", "info Добавлен хост: http://a (beer)",
                            "info Добавлен ключ X-API-KEY: ***** (milk)",
                            "info Добавлен ключ X-API-KEY: ***** (milk)",
                            "info Добавлен ключ X-API-KEY: ***** (milk)",
                            "info Добавлен ключ X-API-KEY: ***** (Beer)"));
}

TEST_F(HostsAndKeys, PassOverAHostWhoseOwnerHasKeys)
{
    start(false);
    client->addHost(a, "milk");
    client->addHost(a, "beer");  // no keys yet: the new owner counts
    client->addKey("key", "beer");
    forget();
    client->addHost(a, "milk");
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_THAT(client->getApiKey(a), ElementsAre("key"));
    client->addHost(b, "beer");  // unknown as a host, whoever its owner is
    EXPECT_THAT(log.take(), ElementsAre("info Добавлен хост: http://b (beer)"));
}

TEST_F(HostsAndKeys, PassOverEveryNewHostWhileThereAreKeysOfNoOwner)
{
    start(false);
    client->addKey("key", "");
    EXPECT_THAT(client->getApiKey(a), ElementsAre("key"));
    forget();
    client->addHost(a, "milk");
    EXPECT_THAT(client->getHosts(CdnMethod::Info), IsEmpty());
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(HostsAndKeys, MayBeAskedByWhoeverReadsTheLog)
{
    start(false);
    Log4Qt::LogManager::setWatcher([this](const Log4Qt::LogRecord&) {
        (void)client->getApiKey(a);
        (void)client->getHosts(CdnMethod::Info);
    });
    client->updateInfo();
    client->addHost(a, "owner");
    client->addKey("key", "owner");
    client->updateInfo();
    EXPECT_THAT(asked(), ElementsAre("info a"));
}

TEST_F(CrptClientTest, MakesItsHttpClientAtTheStartAndAnewOnHostEvents)
{
    auto* const notifier = Singleton<ActivityNotifier>::instance();
    client = std::make_unique<CrptClient>();
    notifier->sendEvent(Event(172));
    EXPECT_EQ(http.clientsSetUp(), 0) << "not before the start";
    client->onStart();
    EXPECT_EQ(http.clientsSetUp(), 1);
    for (const int code : {10, 11, 172}) {
        const int before = http.clientsSetUp();
        notifier->sendEvent(Event(code));
        EXPECT_EQ(http.clientsSetUp(), before + 1) << code;
    }
    for (const int code : {0, 9, 12, 96, 250, 256}) {
        client->handleEvent(Event(code));
        notifier->sendEvent(Event(code));
    }
    EXPECT_EQ(http.clientsSetUp(), 4);
    client.reset();
    notifier->sendEvent(Event(10));
    EXPECT_EQ(http.clientsSetUp(), 4);
    EXPECT_THAT(asked(), IsEmpty());
}

}  // namespace
