#include "httpclient.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(Admin, RefusesWhatItDoesNotKnowWithAReason)
{
    struct Case
    {
        std::string verb, path, body;
        long status;
        std::string reason;
    };
    const std::vector<Case> cases = {
        {"GET", "/", "", 404, "no such path"},
        {"GET", "/stat", "", 404, "no such path"},
        {"GET", "/state/", "", 404, "no such path"},
        {"DELETE", "/state", "", 405, "does not take this method"},
        {"GET", "/state?x=1", "", 400, "unknown parameter \"x\""},
        {"GET", "/requests?since=two", "", 400, "\"since\" must be a number"},
        {"GET", "/requests?server=site-9", "", 400, "no server \"site-9\""},
        {"GET", "/behaviours/site-9", "", 404, "no server \"site-9\""},
        {"GET", "/behaviours/", "", 404, "no server \"\""},
        {"PUT", "/behaviours/site-1", "{", 400, "body: line 1: this is not JSON"},
        {"PUT", "/behaviours/site-1", R"({"staus": 500})", 400,
         "body: unknown key \"staus\"; known keys: method,"},
        {"PUT", "/behaviours/site-1", R"([{}, {"status": "500"}])", 400,
         "body[1].status: must be a whole number"},
        {"PUT", "/behaviours/site-1", R"({"status": 500.5})", 400, "body.status: must be a whole number"},
        {"PUT", "/behaviours/site-1", R"({"status": 99})", 400, "from 200 to 999"},
        {"PUT", "/behaviours/site-1", R"({"method": "chek"})", 400,
         "body.method: \"chek\" is not one of all, info"},
        {"PUT", "/behaviours/site-1", R"({"times": 0})", 400, "body.times: must be a whole number from 1"},
        {"PUT", "/behaviours/site-1", R"({"silent": 1})", 400, "body.silent: must be true or false"},
        {"PUT", "/behaviours/site-1", R"({"body": "x"})", 400, "body.body: must be an object"},
        {"PUT", "/behaviours/site-1", R"({"headers": {"A": 1}})", 400, "\"A\" must be a text, or null"},
        {"PUT", "/behaviours/site-1", R"({"headers": {"A": "1\r\nB: 2"}})", 400, "\"A\" is no header"},
        {"PUT", "/behaviours/site-1", R"({"set": {"code": 1}})", 400, "must be a path"},
        {"PUT", "/behaviours/site-1", R"({"cut": {}})", 400, "body.cut.after: must be a number of bytes"},
        {"PUT", "/behaviours/site-1", R"({"cut": {"after": "tail"}})", 400,
         "\"tail\" is not one of head, reply"},
        {"PUT", "/behaviours/site-1", R"({"drip": {"every": 1}})", 400, "body.drip: unknown key \"every\""},
        {"PUT", "/behaviours/site-1", R"({"rawBase64": "*"})", 400, "body.rawBase64: must be Base64"},
        {"PUT", "/behaviours/site-1", R"({"text": "x", "body": {}})", 400, "cannot stand beside"},
        {"PUT", "/behaviours/site-1", R"({"connect": "refuse", "times": 1})", 400, "cannot be counted"},
        {"PUT", "/behaviours/site-1", R"({"connect": "reset", "status": 500})", 400,
         "\"status\" cannot stand beside"},
        {"GET", "/goods/nothing", "", 404, "not listed"},
        {"PUT", "/goods/x", R"({"online": []})", 400, "body.online: must be an object"},
        {"PUT", "/goods/x", R"({"price": 1})", 400, "body: unknown key \"price\""},
        {"PUT", "/goods/x", "[]", 400, "body: must be an object"},
        {"PUT", "/goods/x", R"({"code": "y"})", 400, "with that of the path"},
        {"PUT", "/modules/site-1", R"({"state": "ready"})", 404, "no module \"site-1\""},
        {"PUT", "/modules/module-1", R"({"state": "Ready"})", 400, "body.state: must be not_configured"},
        {"PUT", "/scenario", R"({"sites": 4})", 400, "needs other servers than those that run"},
        {"PUT", "/scenario", R"({"servers": {"site-1": {"port": 1}}})", 400, "keeps its port"},
        {"PUT", "/scenario", R"({"servers": {"site-9": {}}})", 400,
         "body.servers.site-9: there is no such server"},
    };
    const StandProcess stand;
    StandClient client(stand);
    client.behave("site-1", R"({"status": 418})");
    for (const auto& c : cases) {
        const auto reply = client.admin(c.verb, c.path, c.body);
        const auto reason = reply.object()["error"_L1].toString().toStdString();
        EXPECT_EQ(reply.status, c.status) << c.path << c.body;
        EXPECT_NE(reason.find(c.reason), std::string::npos) << c.path << c.body << "\n" << reason;
    }
    EXPECT_EQ(client.health().status, 418) << "a refused order must change nothing";
    EXPECT_EQ(client.admin("PUT", "/goods/x", std::string(5UL << 20, ' ')).status, 413);
}

TEST(Admin, AnswersItsOwnPagesAndProgramsOnly)
{
    const StandProcess stand;
    HttpClient client;
    const auto ask = [&](const std::vector<std::string>& headers) {
        return client.get(stand.admin() + "/state", headers).status;
    };
    const auto port = stand.admin().substr(stand.admin().rfind(':'));
    EXPECT_EQ(ask({}), 200);
    EXPECT_EQ(ask({"Origin: " + stand.admin()}), 200);
    EXPECT_EQ(ask({"Host: localhost" + port, "Origin: http://localhost" + port}), 200);
    EXPECT_EQ(ask({"Host: [::1]" + port}), 200);
    EXPECT_EQ(ask({"Origin: http://evil.example"}), 403);
    EXPECT_EQ(ask({"Origin: null"}), 403);
    EXPECT_EQ(ask({"Origin: http://127.0.0.1:1"}), 403);
    EXPECT_EQ(ask({"Host: rebound.example" + port}), 403);
    EXPECT_EQ(ask({"Host: rebound.example" + port, "Origin: http://rebound.example" + port}), 403);
}

TEST(Admin, BehavioursAreReadReplacedAppendedAndCleared)
{
    const StandProcess stand;
    StandClient client(stand);
    const auto first = QJsonObject{{"status"_L1, 500}, {"times"_L1, 3}};
    const auto second = QJsonObject{{"connect"_L1, u"refuse"_s}};
    client.behave("sites", toJson(first));
    const auto appended = client.admin("POST", "/behaviours/site-2", toJson(second)).object();
    EXPECT_EQ(appended, (QJsonObject{{"site-2"_L1, QJsonArray{first, second}}}));
    const auto all = client.admin("GET", "/behaviours/all").object();
    EXPECT_EQ(all.size(), 5);
    EXPECT_EQ(all["site-3"_L1], QJsonArray{first});
    EXPECT_EQ(all["operator-1"_L1], QJsonArray());
    const auto state = client.admin("GET", "/state").object();
    EXPECT_FALSE(state["servers"_L1][2]["open"_L1].toBool());
    EXPECT_TRUE(state["servers"_L1][3]["open"_L1].toBool());
    EXPECT_EQ(client.admin("DELETE", "/behaviours/all").object()["site-2"_L1], QJsonArray());
    EXPECT_EQ(client.health("site-2").status, 200);
}

TEST(Admin, AGoodIsAddedChangedAndRemoved)
{
    const StandProcess stand;
    StandClient client(stand);
    const auto code = u"0104607026010011215new/1\u001d93aB+="_s;
    const auto path = "/goods/" + QString::fromUtf8(code.toUtf8().toPercentEncoding()).toStdString();
    EXPECT_FALSE(client.check({code}).object()["codes"_L1][0]["found"_L1].toBool());
    EXPECT_EQ(
        client.admin("PUT", path, R"({"title": "t", "online": {"sold": true, "expireDate": "-1h"}})").status,
        200);
    const auto entry = client.check({code}).object()["codes"_L1][0].toObject();
    EXPECT_TRUE(entry["found"_L1].toBool());
    EXPECT_TRUE(entry["sold"_L1].toBool());
    const auto expiry = QDateTime::fromString(entry["expireDate"_L1].toString(), Qt::ISODateWithMs);
    EXPECT_LT(expiry, QDateTime::currentDateTimeUtc());
    EXPECT_GT(expiry, QDateTime::currentDateTimeUtc().addSecs(-7200));
    EXPECT_EQ(client.admin("GET", path).object()["code"_L1].toString(), code);
    EXPECT_EQ(client.admin("DELETE", path).status, 200);
    EXPECT_EQ(client.admin("DELETE", path).status, 404);
    EXPECT_FALSE(client.check({code}).object()["codes"_L1][0]["found"_L1].toBool());
}

TEST(Admin, ResetGoesBackToTheStart)
{
    const StandProcess stand;
    StandClient client(stand);
    client.behave("site-1", R"({"connect": "refuse"})");
    EXPECT_EQ(client.admin("PUT", "/goods/extra", "{}").status, 200);
    EXPECT_EQ(client.admin("PUT", "/modules/module-1", R"({"state": "sync_error"})").status, 200);
    (void)client.health("site-2");
    EXPECT_EQ(client.admin("POST", "/reset").status, 200);
    EXPECT_EQ(client.admin("GET", "/goods/extra").status, 404);
    EXPECT_EQ(client.admin("GET", "/modules/module-1").object()["state"_L1].toString(), u"ready"_s);
    EXPECT_TRUE(client.admin("GET", "/requests").object()["requests"_L1].toArray().isEmpty());
    EXPECT_EQ(client.health("site-1").status, 200);
}

TEST(Admin, AScenarioIsPlayedOnRunningServers)
{
    const StandProcess stand;
    StandClient client(stand);
    const auto scenario = R"({"keys": ["fresh"], "sites": 3,
        "servers": {"sites": {"behaviours": [{"method": "health", "status": 502}]},
                    "site-2": {"behaviours": [{"method": "health", "status": 504, "times": 1}]},
                    "module-1": {"state": "not_configured", "token": "t"}}})";
    EXPECT_EQ(client.admin("PUT", "/scenario", scenario).object()["keys"_L1], QJsonArray{u"fresh"_s});
    EXPECT_EQ(client.check({}).status, 401) << "the old key";
    EXPECT_EQ(client.health("site-1").status, 502);
    EXPECT_EQ(client.health("site-2").status, 504);
    EXPECT_EQ(client.health("site-2").status, 502);
    EXPECT_EQ(client.admin("GET", "/modules/module-1").object()["token"_L1].toString(), u"t"_s);
    EXPECT_EQ(client.admin("PUT", "/scenario", "{}").status, 200);
    EXPECT_EQ(client.health("site-1").status, 200);
}
