#include <QJsonArray>

#include "lmchz/lmchzclient.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/noticewatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/scriptedclient.h"
#include "tests/doubles/settings.h"
#include <gmock/gmock.h>

namespace {

/// A client of one module, called as its owner calls it.
class LocalModule : public testing::Test
{
protected:
    void answer(const char* method, const http::Response& response)
    {
        http.script(QStringLiteral("m/p/api/v2/") + method,
                    {[response](const SentRequest&) { return response; }});
    }

    Settings settings{{"LMCHZ:enable", "true"}, {"LMCHZ:token", "key"}, {"LMCHZ:url", "http://m/p"}};
    ScriptedClient http;
    LogWatch log;
    NoticeWatch notices;
    LmchzClient client;
};

TEST_F(LocalModule, ThatIsNotReadyLeavesTheOnlineResultAsItIs)
{
    CheckMarkingCodesResult online;
    online.passedCodes = {MarkingCode("A")};
    for (const char* status : {"initialization", "sync_error", "not_configured", "Ready", ""}) {
        answer("status", reply(200, {{"status", status}}));
        EXPECT_EQ(client.checkMarkingCodes(online, online.passedCodes, "key"), online) << status;
        EXPECT_EQ(log.take().last(), "warn Проверка через ЛМЧЗ недоступна");
    }
}

TEST_F(LocalModule, IsToldToSwitchItsGreyListsAndItsRefusalIsShown)
{
    answer("status", reply(200, {{"status", "ready"}}));
    client.getStatus("key");
    const std::pair<http::Response, QStringList> cases[] = {
        {reply(200), {}},
        {reply(500), {"Lmchz|lmchzGreyListError|Ошибка настройки серого списка GTIN"}},
        {cutOff(), {"Lmchz|lmchzGreyListError|Ошибка настройки серого списка GTIN"}}};
    for (const auto& [response, shown] : cases) {
        answer("greyList", response);
        client.toggleGreyListByToken("another", false);
        EXPECT_EQ(notices.take(), shown);
        EXPECT_THAT(log.take(), testing::Contains("info Выключение серых списков GTIN"));
        EXPECT_THAT(http.take().back().body, R"({"enableGreyList":false,"token":"another"})");
    }
}

TEST_F(LocalModule, WithAResultForEveryCodeIsReadInLinearTime)
{
    constexpr int codes = 20'000;
    QList<MarkingCode> asked;
    QJsonArray results;
    for (int i = 0; i < codes; ++i) {
        asked.append(MarkingCode("code " + QString::number(i)));
        const QJsonObject entry{{"cis", asked.last().toString()}, {"isBlocked", i % 2 == 0}};
        results.append(QJsonObject{{"codes", QJsonArray{entry}}});
    }
    answer("status", reply(200, {{"status", "ready"}}));
    answer("cis/outCheck", reply(200, {{"results", results}}));
    const auto result = client.checkMarkingCodes({}, asked, "key");  // minutes when it grows with the square
    EXPECT_EQ(result.passedCodes.size(), codes / 2);
    EXPECT_EQ(result.failedCodes.size(), codes / 2);
}

}  // namespace
