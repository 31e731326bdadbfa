#include <QDateTime>
#include <QUrl>

#include "tests/stand/standtest.h"

using Admin = StandTest;

TEST_F(Admin, RefusesWhatItDoesNotKnowWithAReason)
{
    struct Order
    {
        const char *verb, *path, *body;
        long status;
        const char* reason;
    };
    const Order orders[] = {
        {"GET", "/stat", "", 404, "no such path"},
        {"DELETE", "/state", "", 405, "does not take this method"},
        {"GET", "/state?x=1", "", 400, "unknown parameter \"x\""},
        {"GET", "/requests?since=two", "", 400, "\"since\" must be a number"},
        {"GET", "/requests?server=site-9", "", 400, "no server \"site-9\""},
        {"GET", "/behaviours/site-9", "", 404, "no server \"site-9\""},
        {"GET", "/goods/nothing", "", 404, "not listed"},
        {"PUT", "/goods/x", R"({"online": []})", 400, "body.online: must be an object"},
        {"PUT", "/goods/x", R"({"price": 1})", 400, "body: unknown key \"price\""},
        {"PUT", "/goods/x", R"({"code": "y"})", 400, "with that of the path"},
        {"PUT", "/modules/site-1", R"({"state": "ready"})", 404, "no module \"site-1\""},
        {"PUT", "/modules/module-1", R"({"state": "Ready"})", 400, "body.state: must be not_configured"},
        {"PUT", "/scenario", R"({"sites": 4})", 400, "needs other servers than those that run"},
        {"PUT", "/scenario", R"({"servers": {"site-1": {"port": 1}}})", 400, "keeps its port"},
    };
    const std::pair<const char*, const char*> behaviours[] = {
        {"{", "body: line 1: this is not JSON"},
        {R"([{}, {"status": "500"}])", "body[1].status: must be a whole number"},
        {R"({"status": 99})", "from 200 to 999"},
        {R"({"method": "chek"})", "body.method: \"chek\" is not one of all, info"},
        {R"({"times": 0})", "body.times: must be a whole number from 1"},
        {R"({"silent": 1})", "body.silent: must be true or false"},
        {R"({"headers": {"A": 1}})", "\"A\" must be a text, or null"},
        {R"({"headers": {"A": "1\r\nB: 2"}})", "\"A\" is no header"},
        {R"({"set": {"code": 1}})", "must be a path"},
        {R"({"cut": {}})", "body.cut.after: must be a number of bytes"},
        {R"({"cut": {"after": "tail"}})", "\"tail\" is not one of head, reply"},
        {R"({"rawBase64": "*"})", "body.rawBase64: must be Base64"},
        {R"({"text": "x", "body": {}})", "cannot stand beside"},
        {R"({"connect": "refuse", "times": 1})", "cannot be counted"},
        {R"({"connect": "reset", "status": 500})", "\"status\" cannot stand beside"},
    };
    const auto expectRefusal = [&](const Order& order) {
        const HttpReply reply = stand.ask(order.verb, order.path, order.body);
        EXPECT_EQ(reply.status, order.status) << order.path << order.body;
        EXPECT_TRUE(reply.json()["error"].toString().contains(order.reason)) << reply.body.data();
    };
    stand.behave("site-1", R"({"status": 418})");
    for (const Order& order : orders)
        expectRefusal(order);
    for (const auto& [body, reason] : behaviours)
        expectRefusal({"PUT", "/behaviours/site-1", body, 400, reason});
    EXPECT_EQ(client.health().status, 418) << "a refused order must change nothing";
    const QByteArray tooLarge(5 << 20, ' ');
    expectRefusal({"PUT", "/goods/x", tooLarge, 413, "body limit exceeded"});
}

TEST_F(Admin, AnswersItsOwnPagesAndProgramsOnly)
{
    const QString admin = stand.ready()["admin"].toString();
    const QString port = admin.mid(admin.lastIndexOf(':'));
    const std::pair<QStringList, long> cases[] = {
        {{}, 200},
        {{"Origin: " + admin}, 200},
        {{"Host: localhost" + port, "Origin: http://localhost" + port}, 200},
        {{"Host: [::1]" + port}, 200},
        {{"Origin: http://evil.example"}, 403},
        {{"Origin: null"}, 403},
        {{"Origin: http://127.0.0.1:1"}, 403},
        {{"Host: rebound.example" + port}, 403},
        {{"Host: rebound.example" + port, "Origin: http://rebound.example" + port}, 403},
    };
    for (const auto& [headers, status] : cases)
        EXPECT_EQ(client.send("GET", admin + "/state", {}, headers).status, status)
            << headers.join('\n').toStdString();
}

TEST_F(Admin, BehavioursAreReadAppendedAndCleared)
{
    const QJsonObject first{{"status", 500}, {"times", 3}};
    const QJsonObject second{{"connect", "refuse"}};
    stand.behave("sites", first);
    stand.admin("POST", "/behaviours/site-2", toJson(second));
    const QJsonValue all = stand.admin("GET", "/behaviours/all");
    EXPECT_EQ(all.toObject().size(), 5);
    EXPECT_EQ(all["site-2"], (QJsonArray{first, second}));
    EXPECT_EQ(all["site-3"], QJsonArray{first});
    const QJsonValue servers = stand.admin("GET", "/state")["servers"];
    EXPECT_FALSE(servers[2]["open"].toBool(true));
    EXPECT_TRUE(servers[3]["open"].toBool());
    EXPECT_EQ(stand.admin("DELETE", "/behaviours/all")["site-2"], QJsonArray());
}

TEST_F(Admin, AGoodIsAddedChangedAndRemoved)
{
    const QString code = "0104607026010011215new/1\u001d93aB+=";
    const QString path = "/goods/" + QUrl::toPercentEncoding(code);
    stand.admin("PUT", path, R"({"online": {"sold": true, "expireDate": "-1h"}})");
    const QJsonValue entry = client.entry(code);
    EXPECT_EQ(entry["sold"], true);
    const auto expiry = QDateTime::fromString(entry["expireDate"].toString(), Qt::ISODateWithMs);
    EXPECT_NEAR(double(expiry.secsTo(QDateTime::currentDateTimeUtc())), 3600, 600);
    EXPECT_EQ(stand.admin("GET", path)["code"], code);
    stand.admin("DELETE", path);
    EXPECT_EQ(stand.ask("DELETE", path).status, 404);
    EXPECT_EQ(client.entry(code)["found"], false);
}

TEST_F(Admin, AResetGoesBackToTheStartAndAScenarioIsPlayedOnRunningServers)
{
    stand.behave("site-1", R"({"connect": "refuse"})");
    stand.admin("PUT", "/goods/extra", "{}");
    stand.admin("PUT", "/modules/module-1", R"({"state": "sync_error"})");
    EXPECT_EQ(client.health("site-2").status, 200);
    stand.admin("POST", "/reset");
    EXPECT_TRUE(stand.requests().isEmpty());
    EXPECT_EQ(stand.ask("GET", "/goods/extra").status, 404);
    EXPECT_EQ(stand.admin("GET", "/modules/module-1")["state"], "ready");
    EXPECT_EQ(client.health("site-1").status, 200);

    stand.admin("PUT", "/scenario", R"({"keys": ["fresh"], "sites": 3,
        "servers": {"sites": {"behaviours": [{"method": "health", "status": 502}]},
                    "site-2": {"behaviours": [{"method": "health", "status": 504, "times": 1}]},
                    "module-1": {"state": "not_configured", "token": "t"}}})");
    EXPECT_EQ(client.check({}).status, 401) << "the old key";
    EXPECT_EQ(client.health("site-1").status, 502);
    EXPECT_EQ(client.health("site-2").status, 504);
    EXPECT_EQ(client.health("site-2").status, 502);
    EXPECT_EQ(stand.admin("GET", "/modules/module-1")["token"], "t");
    stand.admin("PUT", "/scenario", "{}");
    EXPECT_EQ(client.health("site-1").status, 200);
}
