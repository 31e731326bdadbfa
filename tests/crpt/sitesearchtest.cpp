#include "tests/crpt/crptclienttest.h"

using http::ErrorKind;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const SearchLine = "warn Нет доступных площадок, пытаемся обновить список площадок";
const char* const NoneLine = "warn Нет доступных площадок после обновления списка";

class SearchBeforeAWalk : public CrptClientTest
{
};

TEST_F(SearchBeforeAWalk, FindsTheSitesOfTheFirstCheck)
{
    start();
    relist({"s1"});
    check("s1", {says(200, Ok)});
    const auto begin = clock.monotonic();
    info("op1", {[this](const SentRequest&) {
             clock.advance(seconds(30));
             return lists({"s1"})({});
         }});
    EXPECT_EQ(request(milliseconds(5000)).status(), 200);
    const auto sent = http.take();
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_GT(std::chrono::nanoseconds(sent[2].deadline.deadlineNSecs()) - begin, seconds(35))
        << "the budget is that of the attempts, not of the search";
    EXPECT_EQ(log.take().first(), SearchLine);
}

TEST_F(SearchBeforeAWalk, ThatFailsAnswersWithTheReplyOfTheFirstOperator)
{
    for (const Answer& answer : {says(401, {{"code", 3}}), answers(cutOff()), lists({})}) {
        start();
        client->addHost(QUrl("http://op0"), "nobody");
        client->addHost(QUrl("http://op2"), "nobody");
        client->addKey("key", "nobody");
        info("op0", {answer});
        info("op1", {says(500)});
        info("op2", {says(500)});
        forget();
        const http::Response response = request();
        EXPECT_EQ(response.errorKind(), ErrorKind::Unreachable);
        EXPECT_EQ(response.status(), answer({}).status());
        EXPECT_EQ(response.url(), QUrl("http://op0" + Base + "/cdn/info"));
        EXPECT_EQ(response.body(), answer({}).body());
        EXPECT_EQ(response.errorText(), answer({}).errorText());
        EXPECT_EQ(log.take().last(), NoneLine);
    }
}

TEST_F(SearchBeforeAWalk, WithoutKeysPermitsTheSaleUnlessTheNetworkFailed)
{
    start(false);
    EXPECT_EQ(request().errorKind(), ErrorKind::SalePermitted);
    EXPECT_THAT(log.take(), ElementsAre(SearchLine, "warn Нет ключей для работы с CDN-площадками", NoneLine));
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(SearchBeforeAWalk, IsHeldBackForAWhileAfterOneThatFailed)
{
    const std::tuple<const char*, std::chrono::nanoseconds, bool> cases[] = {
        {"60", seconds(60) - std::chrono::nanoseconds(1), true},
        {"60", seconds(60), false},
        {"0", seconds(0), false},
        {"-1", seconds(0), false},
        {"sixty", seconds(0), false}};
    for (const auto& [interval, passed, heldBack] : cases) {
        settings.set("CRPT:updateInfoInterval", interval);
        start();
        info("op1", {says(401)});
        request();
        forget();
        clock.advance(passed);
        const http::Response response = request();
        EXPECT_EQ(response.errorKind(), ErrorKind::Unreachable);
        EXPECT_EQ(response.status(), heldBack ? 0 : 401);
        EXPECT_EQ(asked(), heldBack ? QStringList() : QStringList("info op1")) << interval;
        EXPECT_EQ(log.take().isEmpty(), heldBack);
    }
}

TEST_F(SearchBeforeAWalk, HeldBackIsJudgedByTheLastListReplyAndTheKnownSites)
{
    settings.set("CRPT:updateInfoInterval", "3600");
    const std::pair<http::Response, ErrorKind> cases[] = {
        {reply(200), ErrorKind::SalePermitted}, {reply(500), ErrorKind::SalePermitted},
        {reply(401), ErrorKind::SalePermitted}, {reply(404), ErrorKind::Unreachable},
        {timedOut(), ErrorKind::Unreachable},   {cutOff(), ErrorKind::Unreachable}};
    for (const auto& [listReply, outcome] : cases) {
        start();
        info("op1", {says(500), answers(listReply)});
        request();  // the search that holds the next ones back
        client->getCdnInfo(QUrl("http://op1"), "key");
        forget();
        EXPECT_EQ(request().errorKind(), outcome) << listReply.status();
    }
}

TEST_F(SearchBeforeAWalk, HeldBackIsJudgedByWhatTookTheSitesAway)
{
    settings.set("CRPT:updateInfoInterval", "3600");
    const std::pair<http::Response, ErrorKind> cases[] = {{cutOff(), ErrorKind::Unreachable},
                                                          {reply(500), ErrorKind::SalePermitted}};
    for (const auto& [failure, outcome] : cases) {
        start();
        info("op1", {says(500)});
        request();  // the search that holds the next ones back
        relist({"s1"});
        client->updateInfo();  // not a check's search
        check("s1", {answers(failure)});
        request();
        forget();
        EXPECT_EQ(request().errorKind(), outcome) << failure.status();
        EXPECT_THAT(asked(), IsEmpty());
    }
}

class SearchDuringAWalk : public CrptClientTest
{
};

TEST_F(SearchDuringAWalk, GoesOnWithWhatItFindsAndIsMadeOnce)
{
    struct Case
    {
        QStringList listed;  // by the new list; s0 and s1 fail, s2 answers
        QStringList asked;   // after "check s0", "check s1", "info op1" and the probes
        ErrorKind outcome;
    };
    const Case cases[] = {{{"s2"}, {"check s2"}, ErrorKind::None},
                          {{"s1"}, {"check s1"}, ErrorKind::SalePermitted},
                          {{"s1", "s2"}, {"check s1", "check s2"}, ErrorKind::None},
                          {{}, {}, ErrorKind::Unreachable}};
    for (const Case& c : cases) {
        startWithSites({"s0", "s1"});
        check("s0", {says(500)});
        check("s1", {says(500)});
        check("s2", {says(200, Ok)});
        relist(c.listed);
        EXPECT_EQ(request().errorKind(), c.outcome);
        const QStringList requests = asked();
        EXPECT_THAT(requests.mid(0, 3), ElementsAre("check s0", "check s1", "info op1"));
        EXPECT_EQ(requests.mid(3 + c.listed.size()), c.asked);
        EXPECT_EQ(log.take().last() == NoneLine, c.outcome != ErrorKind::None);
    }
}

TEST_F(SearchDuringAWalk, InVainPermitsTheSaleUnlessTheNetworkTookASiteAway)
{
    const std::pair<http::Response, ErrorKind> cases[] = {
        {reply(500), ErrorKind::SalePermitted}, {reply(429), ErrorKind::SalePermitted},
        {timedOut(), ErrorKind::SalePermitted}, {cutOff(), ErrorKind::Unreachable},
        {reply(404), ErrorKind::Unreachable},   {reply(403), ErrorKind::Unreachable}};
    for (const auto& [failure, outcome] : cases) {
        startWithSites({"s1", "s2"});
        check("s1", {answers(failure)});
        check("s2", {says(500)});
        EXPECT_EQ(request().errorKind(), outcome) << failure.status();
        EXPECT_EQ(asked().size(), 7) << "two checks, the list with two probes, two checks again";
    }
}

TEST_F(SearchDuringAWalk, IsGivenUpWhenTheSearchBeforeItHadNoKey)
{
    struct KeylessClient : CrptClient
    {
        UpdateInfoStatus updateInfo() override
        {
            onUpdate();
            return UpdateInfoStatus::NoKeys;
        }
        std::function<void()> onUpdate;
    };
    auto keyless = std::make_unique<KeylessClient>();
    keyless->onStart();
    keyless->addHost(QUrl("http://op1"), "owner");
    keyless->addKey("key", "owner");
    relist({"s1"});
    keyless->CrptClient::updateInfo();
    check("s1", {says(500)});
    keyless->onUpdate = [] {};
    client = std::move(keyless);
    EXPECT_EQ(request().errorKind(), ErrorKind::SalePermitted)
        << "the walk's own search: nothing to go on with";
    EXPECT_EQ(log.take().last(), NoneLine);

    static_cast<KeylessClient&>(*client).onUpdate = [this] { clock.advance(seconds(901)); };
    EXPECT_EQ(request().errorKind(), ErrorKind::NoToken) << "a site came back during the search, and failed";
    EXPECT_EQ(log.take().last(),
              "warn Токен для проверки доступных площадок не задан. Товар не будет добавлен");
}

}  // namespace
