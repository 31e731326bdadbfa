#include <stdexcept>

#include "tests/crpt/crptclienttest.h"

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const FetchLine = "info Получение списка CDN-площадок";
const char* const FailedLine = "warn Не удалось обновить список площадок";
const char* const UnhealthyLine = "warn Некорректное состояние площадки";
const char* const TokenLine = "error Ошибка авторизации";
const char* const TokenNotice = "Crpt|crptIncorrectTokenErrorNotification|Честный знак: ошибка токена. Чеки "
                                "будут сформированы некорректно";
const char* const Withdrawal = "Crpt||";

class SiteListUpdate : public CrptClientTest
{
};

TEST_F(SiteListUpdate, WithoutKeysDoesNothing)
{
    start(false);
    client->addHost(QUrl("http://op1"), "owner");
    forget();
    EXPECT_EQ(client->updateInfo(), Status::NoKeys);
    EXPECT_THAT(log.take(), ElementsAre("warn Нет ключей для работы с CDN-площадками"));
    EXPECT_THAT(notices.take(), IsEmpty());
    EXPECT_THAT(asked(), IsEmpty());
}

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

TEST_F(SiteListUpdate, TriesTheKeysOfAHostUntilOneBringsASite)
{
    start(false);
    client->addHost(QUrl("http://op2"), "owner");
    client->addHost(QUrl("http://op1"), "other");
    for (const char* key : {"third", "second", "first"}) {
        client->addKey(key, "owner");
    }
    client->addKey("own", "other");
    info("op1", {lists({"s3", "s4"})});
    info("op2", {lists({"s1"}), lists({"s2"})});
    health("s1", {says(200, {{"code", 5}})});
    health("s2", {says(200, Ok, milliseconds(20))});
    health("s3", {says(200, Ok, milliseconds(30))});
    health("s4", {says(200, Ok, milliseconds(10))});
    forget();
    client->updateInfo();

    QStringList keys;
    for (const SentRequest& request : http.take()) {
        keys.append(request.url.host() + ' ' + request.headers.value("X-API-KEY"));
    }
    EXPECT_THAT(
        keys, ElementsAre("op1 own", "s3 own", "s4 own", "op2 first", "s1 first", "op2 second", "s2 second"));
    EXPECT_EQ(log.take().last(), "info Выбрана CDN: http://s4 (10 мс)");
    for (const char* site : {"s2", "s3", "s4"}) {
        check(site, {says(500)});
    }
    request();
    EXPECT_THAT(asked().mid(0, 3), ElementsAre("check s4", "check s2", "check s3"));
}

TEST_F(SiteListUpdate, TellsTheCashierOfARefusedKeyUnlessTheHostWasReachedBefore)
{
    const Answer refused = says(401), listed = lists({"s1"}), failed = answers(cutOff());
    struct Case
    {
        Answers replies;         // of op1, update by update
        std::vector<bool> told;  // of a refused key
    };
    const Case cases[] = {{{refused, refused}, {true, true}},
                          {{listed, refused, refused}, {false, false, false}},
                          {{refused, listed, refused}, {true, false, false}},
                          {{refused, failed, refused}, {true, false, false}},
                          {{refused, says(400), refused}, {true, false, false}},
                          {{answers(timedOut()), refused}, {false, false}}};
    health("s1", {says(200, Ok)});
    for (const Case& c : cases) {
        start();
        info("op1", c.replies);
        for (const bool told : c.told) {
            client->updateInfo();
            EXPECT_EQ(notices.take(),
                      told ? QStringList({Withdrawal, TokenNotice}) : QStringList{Withdrawal});
            EXPECT_EQ(log.take().count(TokenLine), told ? 1 : 0);
        }
    }
}

TEST_F(SiteListUpdate, WithoutAHealthySiteKeepsTheEarlierOnes)
{
    startWithSites({"s1", "s2"});
    for (const char* site : {"s1", "s2"}) {
        health(site, {says(200, {{"code", 1}})});
    }
    check("s1", {says(200, Ok)});
    EXPECT_EQ(client->updateInfo(), Status::Finished);
    EXPECT_THAT(log.take(), ElementsAre(FetchLine, UnhealthyLine, UnhealthyLine, FailedLine));
    asked();
    EXPECT_EQ(request().status(), 200);
    EXPECT_THAT(asked(), ElementsAre("check s1"));
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
