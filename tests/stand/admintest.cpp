#include <QDateTime>
#include <QUrl>

#include "tests/stand/standtest.h"

using Admin = StandTest;

TEST_F(Admin, RefusesWhatItDoesNotKnowWithAReasonAndChangesNothing)
{
    const QByteArray tooLarge(5 << 20, ' ');
    struct Order
    {
        const char *verb, *path, *body;
        long status;
        const char* reason;
    };
    const Order orders[] = {
        {"GET", "/stat", "", 404, "no such path"},
        {"DELETE", "/state", "", 405, "does not take this method"},
        {"GET", "/requests?since=two", "", 400, "\"since\" must be a number"},
        {"GET", "/behaviours/site-9", "", 404, "no server \"site-9\""},
        {"PUT", "/goods/%ff", "{}", 400, "path: not UTF-8"},
        {"PUT", "/goods/x", tooLarge, 413, "body limit exceeded"},
        {"PUT", "/modules/module-1", R"({"state": "Ready"})", 400, "body.state: must be not_configured"},
        {"PUT", "/scenario", R"({"sites": 4})", 400, "needs other servers than those that run"},
        {"PUT", "/behaviours/site-1", R"([{}, {"status": 99}])", 400, "body[1].status: must be"},
        {"PUT", "/behaviours/site-1", R"({"headers": {"A": "1\r\nB: 2"}})", 400, "\"A\" is no header"},
        {"PUT", "/behaviours/site-1", R"({"connect": "reset", "status": 500})", 400, "cannot stand beside"},
    };
    stand.behave("site-1", R"({"status": 418})");
    for (const Order& order : orders) {
        const HttpReply reply = stand.ask(order.verb, order.path, order.body);
        EXPECT_EQ(reply.status, order.status) << order.path << order.reason;
        EXPECT_TRUE(reply.json()["error"].toString().contains(order.reason)) << reply.body.data();
    }
    EXPECT_EQ(client.health().status, 418);
}

TEST_F(Admin, AnswersItsOwnPagesAndProgramsOnly)
{
    const QString admin = stand.ready()["admin"].toString();
    const QString port = admin.mid(admin.lastIndexOf(':'));
    const std::pair<QStringList, long> cases[] = {
        {{"Origin: " + admin}, 200},
        {{"Host: localhost" + port, "Origin: http://localhost" + port}, 200},
        {{"Origin: http://127.0.0.1:1"}, 403},
        {{"Host: rebound.example" + port, "Origin: http://rebound.example" + port}, 403},
    };
    for (const auto& [headers, status] : cases)
        EXPECT_EQ(client.send("GET", admin + "/state", {}, headers).status, status)
            << headers.join('\n').toStdString();
}

TEST_F(Admin, ChangesBehavioursGoodsAndModulesAndGoesBackToTheStart)
{
    const QJsonObject first{{"status", 500}, {"times", 3}}, second{{"connect", "refuse"}};
    stand.behave("sites", first);
    stand.admin("POST", "/behaviours/site-2", toJson(second));
    EXPECT_EQ(stand.admin("GET", "/behaviours/all")["site-2"], (QJsonArray{first, second}));
    EXPECT_EQ(stand.admin("DELETE", "/behaviours/all")["site-2"], QJsonArray());

    const QString code = "0104607026010011215new/1\u001d93aB+=";
    const QString path = "/goods/" + QUrl::toPercentEncoding(code);
    stand.admin("PUT", path, R"({"online": {"sold": true, "expireDate": "-1h"}})");
    const QJsonValue entry = client.entry(code);
    EXPECT_EQ(entry["sold"], true);
    const auto expiry = QDateTime::fromString(entry["expireDate"].toString(), Qt::ISODateWithMs);
    EXPECT_NEAR(double(expiry.secsTo(QDateTime::currentDateTimeUtc())), 3600, 600);

    stand.behave("site-1", second);
    stand.admin("PUT", "/modules/module-1", R"({"state": "sync_error"})");
    stand.admin("POST", "/reset");
    EXPECT_TRUE(stand.requests().isEmpty());
    EXPECT_EQ(client.entry(code)["found"], false);
    EXPECT_EQ(stand.admin("GET", "/modules/module-1")["state"], "ready");
}

TEST_F(Admin, PlaysAnotherScenarioOnTheServersThatRun)
{
    stand.admin("PUT", "/scenario", R"({"keys": ["fresh"],
        "servers": {"sites": {"behaviours": [{"method": "health", "status": 502}]},
                    "site-2": {"behaviours": [{"method": "health", "status": 504, "times": 1}]},
                    "module-1": {"state": "not_configured", "token": "t"}}})");
    EXPECT_EQ(client.check({}).status, 401) << "the old key";
    EXPECT_EQ(client.health("site-2").status, 504);
    EXPECT_EQ(client.health("site-2").status, 502);
    EXPECT_EQ(stand.admin("GET", "/modules/module-1")["token"], "t");
    stand.admin("PUT", "/scenario", "{}");
    EXPECT_EQ(client.health("site-2").status, 200);
}
