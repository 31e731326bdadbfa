#include <array>

#include <QJsonArray>
#include <QJsonDocument>

#include "tests/lmchz/localmodule.h"
#include <log4qt/logmanager.h>

namespace {

const QJsonObject ready{{"status", "ready"}};

/// The reply with the exchange cut behind what has come of it.
http::Response cut(http::Response response)
{
    response.setNetworkError(true);
    response.setNetworkError(http::NetworkError::RemoteHostClosed);
    return response;
}

http::Response late(http::Response response)
{
    response.setTimeout(true);
    return response;
}

http::Response unreadable()
{
    http::Response response = reply(200);
    response.setBody(R"({"results":[{"codes":[{"cis":"A","isBlo)");
    return response;
}

QJsonObject results(const QJsonArray& entries)
{
    QJsonArray elements;
    for (const QJsonValue entry : entries) {
        elements.append(QJsonObject{{"codes", QJsonArray{entry}}, {"reqId", "r"}});
    }
    return {{"results", elements}};
}

TEST_F(LocalModule, IsReachedAsItsSectionSays)
{
    settings.set("LMCHZ 4:enable", "true");
    settings.set("LMCHZ 4:token", "defaults");
    settings.set("LMCHZ 5:enable", "true");
    client.emplace();
    const std::tuple<const char*, const char*, const char*, int> cases[] = {
        {"key", "http://m/p/api/v2/status", "Basic dXNlcjpwYXNzd29yZA==", 2},
        {"key-2", "http://m2/api/v2/status", "Basic Og==", 5},
        {"defaults", "http://127.0.0.1:5995/api/v2/status", "Basic Og==", 5}};
    for (const auto& [token, url, authorization, timeout] : cases) {
        client->getStatus(token);
        const SentRequest sent = http.take().at(0);
        EXPECT_EQ(sent.method + ' ' + sent.url.toString(), QString("GET ") + url);
        EXPECT_EQ(sent.headers, (QHash<QString, QString>{{"Content-Type", "application/json"},
                                                         {"Authorization", authorization}}));
        EXPECT_EQ(sent.body, "");
        EXPECT_EQ(sent.timeout, std::chrono::seconds(timeout));
        EXPECT_EQ(sent.alias, "ЛМЧЗ");
        EXPECT_EQ(sent.logger, Log4Qt::LogManager::logger("lmchz"));
    }
}

TEST_F(LocalModule, IsCurrentUntilAnotherOneIsSelected)
{
    EXPECT_EQ(client->getUrl(LmchzClient::Init).host(), "") << "none yet";
    client->getStatus("key");
    (void)log.take();
    (void)http.take();
    for (const char* token : {"off", "another", "KEY", ""}) {
        EXPECT_EQ(client->getStatus(token), int(LmchzStatus::Unknown)) << token;
        EXPECT_EQ(log.takeNamed(), QStringList({"lmchz: info Получение статуса ЛМЧЗ",
                                                "lmchz: error Токен для проверки товара в ЛМЧЗ не найден"}));
    }
    const std::array paths = {
        "/p", "/p/api/v2/init", "/p/api/v2/status", "/p/api/v2/cis/outCheck", "/p/api/v2/greyList", "/p"};
    for (int method = -1; method < 5; ++method) {
        EXPECT_EQ(client->getUrl(static_cast<LmchzClient::Method>(method)),
                  QUrl(QString("http://m") + paths.at(size_t(method + 1))));
    }
    EXPECT_TRUE(http.take().empty());
}

TEST_F(LocalModule, IsUsableWhenItsReplySaysReady)
{
    CheckMarkingCodesResult online;
    online.passedCodes = {MarkingCode("A")};
    const auto says = [](const char* text) { return reply(200, {{"status", text}}); };
    const std::tuple<http::Response, int, QString> cases[] = {{says("ready"), 2, "ready"},
                                                              {cut(says("ready")), 2, "ready"},
                                                              {reply(500, ready), 2, "ready"},
                                                              {says("not_configured"), 3, "not_configured"},
                                                              {says("initialization"), 1, "initialization"},
                                                              {says("sync_error"), 4, "sync_error"},
                                                              {says("Ready"), 0, "Ready"},
                                                              {reply(200, {{"status", 2}}), 0, ""},
                                                              {cut(unreadable()), 0, ""},
                                                              {cutOff(), 0, ""}};
    for (const auto& [response, status, text] : cases) {
        const QStringList lines{"info Получение статуса ЛМЧЗ", "debug  статус: " + text};
        answer("status", response);
        EXPECT_EQ(client->getStatus("key"), status);
        EXPECT_EQ(log.take(), lines);
        const bool isReady = status == 2;
        EXPECT_EQ(client->checkMarkingCodes(online, online.passedCodes, "key"), online);
        EXPECT_EQ(log.take(), isReady ? lines : lines + QStringList("warn Проверка через ЛМЧЗ недоступна"));
        EXPECT_EQ(http.take().size(), isReady ? 3U : 2U);
    }
    EXPECT_EQ(shown(), QStringList());
}

/// What is posted behind the request for the status: method and body, and its line in the log.
struct Order
{
    QString sent, line;
};
const Order none, init{R"(init{"token":"key"})", "debug Инициализация ЛМЧЗ"},
    initOn{R"(init{"enableGreyList":true,"token":"key"})", init.line},
    initOff{R"(init{"enableGreyList":false,"token":"key"})", init.line},
    on{R"(greyList{"enableGreyList":true,"token":"key"})", "info Включение серых списков GTIN"},
    off{R"(greyList{"enableGreyList":false,"token":"key"})", "info Выключение серых списков GTIN"};

TEST_F(LocalModule, IsBroughtIntoTheConfiguredStateOnEvent96)
{
    const QString initFails = "|Ошибка инициализации ЛМЧЗ",
                  greyFails = "|Ошибка настройки серого списка GTIN";
    const QString unsupported = "lmchzGreyListInvalidOperation|Серые списки GTIN временно не поддерживаются";
    const QJsonObject code5{{"errorCode", 5}};
    // The setting enableGreyList (null: none yet), what the module says of itself and to the order, the
    // notice.
    const std::tuple<const char*, const char*, http::Response, Order, QString> cases[] = {
        {nullptr, "not_configured", reply(200), init, {}},
        {nullptr, "not_configured", reply(500, code5), init, "lmchzInitError5" + initFails},
        {nullptr, "not_configured", reply(403), init, "lmchzInitError" + initFails},
        {nullptr, "ready", {}, none, {}},
        {"true", "not_configured", cut(reply(200, code5)), initOn, {}},
        {"false", "not_configured", cut(reply(200)), initOff, "lmchzInitError" + initFails},
        {"true", "ready", reply(200), on, {}},
        {"false", "ready", late(reply(200, code5)), off, {}},
        {"true", "ready", late(unreadable()), on, "lmchzGreyListError" + greyFails},
        {"true", "ready", reply(400, code5), on, unsupported},
        {"false", "ready", reply(500, {{"errorCode", "x"}}), off, "lmchzGreyListError0" + greyFails},
        {"true", "ready", cutOff(), on, "lmchzGreyListError" + greyFails},
        {"unreadable", "ready", reply(200), off, {}},
        {"true", "sync_error", {}, none, {}},
    };
    settings.set("LMCHZ:maintain", "true");
    for (const auto& [greyList, status, response, order, notice] : cases) {
        if (greyList != nullptr) {
            settings.set("LMCHZ:enableGreyList", greyList);
        }
        client.emplace();
        answer("status", reply(200, {{"status", status}}));
        answer("init", response);
        answer("greyList", response);
        sendEvent96();
        EXPECT_EQ(orders(), order.sent.isEmpty() ? QStringList() : QStringList("m: " + order.sent));
        const QStringList lines{order.line, notice.isEmpty() ? "" : "error " + notice.section('|', 1)};
        EXPECT_EQ(log.take().mid(2), lines.filter(" "));
        EXPECT_EQ(shown(), notice.isEmpty() ? QStringList() : QStringList("Lmchz|" + notice));
    }
}

TEST_F(LocalModule, IsMaintainedAsAllItsSectionsSayTogether)
{
    sendEvent96();
    EXPECT_TRUE(http.take().empty()) << "none is maintained";
    for (const char* section : {"LMCHZ", "LMCHZ 2", "LMCHZ 6"}) {
        settings.set(section + QString(":maintain"), "true");
    }
    settings.set("LMCHZ:enableGreyList", "false");
    settings.set("LMCHZ 6:enable", "true");
    settings.set("LMCHZ 6:token", "key");
    settings.set("LMCHZ 6:url", "http://m6");
    client.emplace();
    for (const char* host : {"m2", "m6"}) {
        http.script(host + QString("/api/v2/status"), {[](const SentRequest&) {
                        return reply(200, {{"status", "not_configured"}});
                    }});
    }
    sendEvent96();
    EXPECT_EQ(orders(), QStringList({R"(m6: init{"enableGreyList":false,"token":"key"})",
                                     R"(m2: init{"token":"key-2"})"}));
    EXPECT_EQ(shown().size(), 2);
}

TEST_F(LocalModule, AnswersForTheIdentityOfCodes)
{
    answer("status", reply(200, ready));
    const MarkingCode milk("0104600439931256215Qbag!\x1D"
                           "93Zjqw");
    const MarkingCode a("A");
    QJsonObject entry{{"cis", milk.cis()},       {"mrp", 900},           {"groupIds", QJsonArray{8}},
                      {"expireDate", "2999-01"}, {"productWeight", 100}, {"isBlocked", true}};
    answer("cis/outCheck", reply(200, results({entry})));
    const auto result = client->checkMarkingCodes({}, {milk, a, milk}, "key");
    const auto sent = http.take();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[1].method + ' ' + sent[1].url.toString(), "POST http://m/p/api/v2/cis/outCheck");
    const QByteArray cis = R"({"cis":"0104600439931256215Qbag!"})";
    EXPECT_EQ(sent[1].body, R"({"cis_list":[)" + cis + R"(,{"cis":"A"},)" + cis + "]}");

    EXPECT_EQ(result.failedCodes.keys(), QList{milk});
    EXPECT_EQ(result.failedCodes[milk].object, entry);
    EXPECT_EQ(result.requestInfos.keys(), QList{milk});
    EXPECT_EQ(result.requestInfos[milk].reqId, "r");
    EXPECT_EQ(result.mrps.keys(), QList{milk});
    EXPECT_EQ(result.mrps[milk].mrp, 900);
    EXPECT_TRUE(result.expireDates.isEmpty());
    EXPECT_TRUE(result.productWeights.isEmpty());
    EXPECT_FALSE(result.success.has_value());
    EXPECT_EQ(result.status(), 0);
}

TEST_F(LocalModule, SaysOfTheRequestedCodesWhatItLastSaid)
{
    const MarkingCode a("A"), b("B");
    const QJsonObject passes{{"cis", "A"}}, fails{{"cis", "A"}, {"isBlocked", true}}, other{{"cis", "B"}};
    const QJsonObject worse{{"cis", "A"}, {"isBlocked", true}, {"message", "last"}, {"mrp", 2}};
    const std::tuple<QJsonArray, QList<MarkingCode>, QList<MarkingCode>> cases[] = {
        {{other}, {b}, {}},
        {{passes, other, passes, other}, {a, b, a}, {}},
        {{passes, other, fails, worse}, {a, b, a}, {a}},
        {{passes, QJsonObject{{"cis", "C"}, {"isBlocked", true}}, QJsonObject{{"cis", "D"}}, 5}, {a, a}, {}},
        {{}, {}, {}}};
    answer("status", reply(200, ready));
    for (const auto& [entries, passed, failed] : cases) {
        answer("cis/outCheck", reply(200, results(entries)));
        const auto result = client->checkMarkingCodes({}, {a, b, a}, "key");
        EXPECT_EQ(result.passedCodes, passed);
        EXPECT_EQ(result.failedCodes.keys(), failed);
        EXPECT_EQ(result.failedCodes.value(a).message, failed.isEmpty() ? "" : "last");
        EXPECT_EQ(result.mrps.value(a).mrp, failed.isEmpty() ? 0 : 2);
        EXPECT_EQ(result.isSuccess(), failed.isEmpty());
    }
}

TEST_F(LocalModule, IsJudgedByTheStatusOfItsReply)
{
    CheckMarkingCodesResult online;
    online.passedCodes = {MarkingCode("online")};
    const MarkingCode a("A");
    const QJsonObject blocked = results({QJsonObject{{"cis", "A"}, {"isBlocked", true}}});
    const auto check = [&](const http::Response& response) {
        answer("cis/outCheck", response);
        return client->checkMarkingCodes(online, {a}, "key");
    };
    answer("status", reply(200, ready));
    for (const auto& used : {reply(200, blocked), cut(reply(200, blocked)), late(reply(200, blocked))}) {
        EXPECT_EQ(check(used).failedCodes.keys(), QList{a});
    }
    for (const auto& unused : {reply(500, blocked), reply(201, blocked), late(unreadable()),
                               cut(unreadable()), timedOut(), cutOff()}) {
        EXPECT_EQ(check(unused), online);
    }
    for (const auto& empty : {reply(200), unreadable(), reply(200, {{"results", QJsonObject()}})}) {
        EXPECT_EQ(check(empty), CheckMarkingCodesResult());
    }
    EXPECT_EQ(shown(), QStringList());
}

}  // namespace
