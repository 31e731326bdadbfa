#include "tests/crpt/crptclienttest.h"

#include <future>
#include <stdexcept>

CrptClientTest::Answer CrptClientTest::answers(const http::Response& response)
{
    return [response](const SentRequest&) { return response; };
}

CrptClientTest::Answer CrptClientTest::lists(const QStringList& sites)
{
    QJsonArray hosts;
    for (const QString& site : sites) {
        hosts.append(QJsonObject{{"host", "http://" + site}});
    }
    return says(200, {{"hosts", hosts}});
}

void CrptClientTest::make()
{
    client = std::make_unique<CrptClient>();
    client->addHost(QUrl("http://op1"), "owner");
    client->addKey("key", "owner");
}

void CrptClientTest::startWithSites(const QStringList& sites)
{
    make();
    client->onStart();
    relist(sites);
    client->updateInfo();
    (void)http.take();
    (void)log.take();
}

void CrptClientTest::relist(const QStringList& sites)
{
    info({lists(sites)});
    milliseconds time(10);
    for (const QString& site : sites) {
        http.script(site + base + "/cdn/health/check", {[this, time](const SentRequest&) {
                        clock.advance(time);
                        return reply(200, ok);
                    }});
        time += milliseconds(10);
    }
}

http::Response CrptClientTest::request(milliseconds limit)
{
    return client->request({}, QJsonDocument(QJsonObject{{"codes", QJsonArray()}}), limit, limit);
}

namespace {

const char* const fetchLine = "info Получение списка CDN-площадок";

TEST_F(CrptClientTest, UpdatesOneListAtATimeInTheProcess)
{
    startWithSites({});
    CrptClient other;
    other.addKey("key", "owner");
    info({[this, &other](const SentRequest&) {
        (void)log.take();
        for (CrptClient* one : {client.get(), &other, client.get()}) {
            EXPECT_EQ(one->updateInfo(), Status::AlreadyRunning);
        }
        EXPECT_THAT(log.take(), testing::Each("debug Процесс обновления списка CDN-площадок уже запущен"));
        return reply(500);
    }});
    EXPECT_EQ(client->updateInfo(), Status::Finished);
    EXPECT_EQ(other.updateInfo(), Status::Finished);
}

TEST_F(CrptClientTest, UpdatesAgainAfterAnUpdateThatBrokeOff)
{
    startWithSites({"s1"});
    info({[](const SentRequest&) -> http::Response { throw std::runtime_error("fault"); }});
    EXPECT_EQ(client->updateInfo(), Status::Finished);
    EXPECT_THAT(log.take(),
                testing::ElementsAre(fetchLine, "error Обновление списка площадок прервано исключением"));
    check("s1", {says(500)});
    EXPECT_EQ(request().errorKind(), http::ErrorKind::Unreachable) << "what the operator lists is not known";
    relist({"s2"});
    client->updateInfo();
    EXPECT_EQ(log.take().last(), "info Выбрана CDN: http://s2 (10 мс)");
}

TEST_F(CrptClientTest, ACheckThatIsHeldBackGoesByTheListReplyOfTheUpdateThatRuns)
{
    const Settings settings{{"CRPT:updateInfoInterval", "4000000"}};  // longer than the machine is up
    http::Response cut = lists({"s2"})({}), late = cut;
    cut.setNetworkError(true);
    late.setTimeout(true);
    const std::pair<http::Response, http::ErrorKind> cases[] = {
        {lists({"s2"})({}), http::ErrorKind::SalePermitted},
        {cut, http::ErrorKind::Unreachable},
        {late, http::ErrorKind::Unreachable}};
    for (const auto& [list, kind] : cases) {
        startWithSites({"s1"});
        check("s1", {says(500)});
        info({says(500), answers(list)});
        client->updateInfo();  // fails
        std::optional<http::ErrorKind> heldBack;
        http.script("s2" + base + "/cdn/health/check", {[&](const SentRequest&) {
                        heldBack = std::async([this] { return request(); }).get().errorKind();
                        return reply(500);
                    }});
        (void)request();
        EXPECT_EQ(heldBack, kind);
    }
}

/// A client whose searches find sites, but tell that it has no key: another thread has made them available.
struct KeylessClient : CrptClient
{
    UpdateInfoStatus updateInfo() override
    {
        (void)CrptClient::updateInfo();
        return UpdateInfoStatus::NoKeys;
    }
};

TEST_F(CrptClientTest, EndsAtTheLastSiteWhenItsSearchHasFoundNoKey)
{
    client = std::make_unique<KeylessClient>();
    client->addHost(QUrl("http://op1"), "owner");
    client->addKey("key", "owner");
    relist({"s1"});
    check("s1", {says(500)});
    EXPECT_EQ(request().errorKind(), http::ErrorKind::NoToken);
    EXPECT_EQ(log.take().last(),
              "warn Токен для проверки доступных площадок не задан. Товар не будет добавлен");
}

TEST_F(CrptClientTest, MayBeAskedByWhoeverReadsTheLog)
{
    int lines = 0;
    make();
    Log4Qt::LogManager::setWatcher([&](const Log4Qt::LogRecord&) {
        lines += int(client->getApiKey(QUrl("http://op1")).size() + client->getHosts(CdnMethod::Info).size());
    });
    make();
    client->updateInfo();
    EXPECT_GT(lines, 0);
}

TEST_F(CrptClientTest, ServesACheckThatComesBeforeItsStart)
{
    make();
    relist({"s1"});
    check("s1", {says(200, ok)});
    EXPECT_EQ(request(milliseconds(1)).status(), 200);
    const int clients = http.clientsSetUp();
    client->onStart();
    EXPECT_EQ(http.clientsSetUp(), clients + 1);
}

TEST_F(CrptClientTest, GivesTheUrlsOfItsHostsInUrlOrder)
{
    CrptClient several;
    for (const char* host : {"https://op2/x/", "http://op3", "https://op1//"}) {
        several.addHost(QUrl(host), "owner");
    }
    const QList<QUrl> urls = {QUrl("http://op3/api/v4/true-api/cdn/health/check"),
                              QUrl("https://op1//api/v4/true-api/cdn/health/check"),
                              QUrl("https://op2/x/api/v4/true-api/cdn/health/check")};
    EXPECT_EQ(several.getHosts(CdnMethod::HealthCheck), urls);
    for (const int unknown : {0, 4, -1}) {
        EXPECT_EQ(several.getUrl("http://op3", CdnMethod(unknown)), QUrl("http://op3/api/v4/true-api"));
    }
}

TEST_F(CrptClientTest, IsMadeAnewByEvents10_11And172Only)
{
    startWithSites({});
    for (const int code : {0, 9, 10, 11, 12, 96, 171, 172, 250, 256}) {
        const int before = http.clientsSetUp();
        client->handleEvent(Event(code));
        EXPECT_EQ(http.clientsSetUp() - before, code == 10 || code == 11 || code == 172 ? 1 : 0) << code;
    }
}

TEST(Site, ComparesByTimeAndHostAlone)
{
    CdnInfo site, same, slower, other;
    EXPECT_EQ(site.responseTime, -1);
    same.markAsUnavailable({}, true);
    slower.responseTime = 1;
    other.host = "other";
    EXPECT_TRUE(site == same);
    EXPECT_FALSE(site == slower);
    EXPECT_FALSE(site == other);
    EXPECT_TRUE(site < slower);
    EXPECT_FALSE(site < other || other < site || slower < site);
}

}  // namespace
