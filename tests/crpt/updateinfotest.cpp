#include <stdexcept>

#include "tests/crpt/crptclienttest.h"

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const FetchLine = "info Получение списка CDN-площадок";
const char* const Withdrawal = "Crpt||";

class SiteListUpdate : public CrptClientTest
{
};

TEST_F(SiteListUpdate, MeasuresTheListedSitesAndChoosesTheFastest)
{
    settings.set("CRPT:getInfoTimeout", "7");
    settings.set("CRPT:healthCheckTimeout", "3");
    start();
    info("op1", {lists({"s1", "s2"})});
    health("s1", {says(200, Ok, milliseconds(120))});
    health("s2", {says(200, Ok, milliseconds(45))});
    EXPECT_EQ(client->updateInfo(), Status::Finished);
    EXPECT_THAT(log.take(),
                ElementsAre(FetchLine, "debug Время ответа CDN: 120 мс.", "debug Время ответа CDN: 45 мс.",
                            "info Выбрана CDN: http://s2 (45 мс)"));
    EXPECT_THAT(notices.take(), ElementsAre(Withdrawal));

    const auto sent = http.take();
    ASSERT_EQ(sent.size(), 3U);
    for (const SentRequest& request : sent) {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.body, "");
        EXPECT_EQ(request.headers,
                  (QHash<QString, QString>{
                      {"X-API-KEY", "key"}, {"Accept", "application/json"}, {"Connection", "close"}}));
        const bool list = request.url.path().endsWith("info");
        EXPECT_EQ(request.timeout, list ? seconds(7) : seconds(3));
        EXPECT_EQ(request.alias, list ? "серверу честного знака для получения списка CDN-площадок"
                                      : "серверу честного знака для получения состояния CDN-площадки");
        EXPECT_EQ(request.logger->name(), "crptclient");
    }
    EXPECT_EQ(http.clientsSetUp(), 4) << "one at the start and one for every request";

    check("s2", {says(200, Ok)});
    request();
    EXPECT_THAT(asked(), ElementsAre("check s2"));
}

TEST_F(SiteListUpdate, RunsOneAtATimeInTheProcess)
{
    start();
    CrptClient other;
    other.addKey("key", "owner");
    info("op1", {[this, &other](const SentRequest&) {
             forget();
             for (CrptClient* one : {client.get(), &other, client.get()}) {
                 EXPECT_EQ(one->updateInfo(), Status::AlreadyRunning);
             }
             EXPECT_THAT(log.take(),
                         testing::Each("debug Процесс обновления списка CDN-площадок уже запущен"));
             EXPECT_THAT(notices.take(), IsEmpty());
             return reply(500);
         }});
    EXPECT_EQ(client->updateInfo(), Status::Finished);
    EXPECT_EQ(other.updateInfo(), Status::Finished);
}

TEST_F(SiteListUpdate, ThatBreaksOffLeavesTheNextOnePossible)
{
    startWithSites({"s1"});
    info("op1", {[](const SentRequest&) -> http::Response { throw std::runtime_error("fault"); }});
    EXPECT_EQ(client->updateInfo(), Status::Finished);
    EXPECT_THAT(log.take(), ElementsAre(FetchLine, "error Обновление списка площадок прервано исключением"));
    relist({"s2"});
    client->updateInfo();
    EXPECT_EQ(log.take().last(), "info Выбрана CDN: http://s2 (10 мс)");
}

}  // namespace
