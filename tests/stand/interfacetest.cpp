#include <QDateTime>
#include <QUrl>

#include "tests/stand/standtest.h"

using namespace std::chrono_literals;
using Interface = StandTest;
using Log = StandTest;
using Admin = StandTest;

namespace {

const QString credentials = "Authorization: Basic YWRtaW46YWRtaW4=";

}  // namespace

TEST_F(Interface, ChecksPathVerbKeyAndBodyAsTheRealServersDo)
{
    struct Case
    {
        const char *server, *verb, *path;
        QByteArray body;
        QString header;
        int status;
        int errorCode = 0;  ///< of a module
    };
    const QString key = client.keyHeader();
    const Case cases[] = {
        {"operator-1", "GET", "v4/true-api/cdn/info", "{}", key, 200},
        {"operator-1", "GET", "v4/true-api/cdn/info", "", "X-API-KEY: other", 401},
        {"operator-1", "POST", "v4/true-api/cdn/info", "{}", key, 405},
        {"site-2", "GET", "v4/true-api/cdn/info", "", key, 404},
        {"site-2", "POST", "v4/true-api/codes/check", R"({"codes":[]})", "X-API-KEY: other", 401},
        {"site-2", "POST", "v4/true-api/codes/check", R"({"codes":)", key, 400},
        {"site-2", "POST", "v4/true-api/codes/check", R"({"codes":["x",1]})", key, 400},
        {"module-1", "GET", "v2/status", "", credentials, 200},
        {"module-1", "GET", "v2/status", "", "Authorization: Basic Og==", 401},
        {"module-1", "GET", "v1/status", "", credentials, 404},
        {"module-1", "POST", "v2/init", R"({"token": 1})", credentials, 400, 1},
        {"module-1", "POST", "v2/init", R"({"token": "another"})", credentials, 403, 3},
        {"module-1", "POST", "v2/cis/outCheck", R"({"cis_list": ["x"]})", credentials, 400, 1},
        {"module-1", "POST", "v2/greyList", R"({"token": "another", "enableGreyList": true})", credentials,
         403, 3},
    };
    for (const Case& c : cases) {
        const HttpReply reply =
            client.send(c.verb, stand.url(c.server) + "/api/" + c.path, c.body, {c.header});
        EXPECT_EQ(reply.status, c.status) << c.server << c.verb << c.path << c.body.data();
        EXPECT_EQ(reply.json()["errorCode"].toInt(), c.errorCode) << c.path << c.body.data();
        if (c.server != QLatin1String("module-1")) {
            EXPECT_EQ(reply.json()["code"], c.status == 200 ? 0 : c.status);
        }
    }
}

TEST_F(Interface, EchoesCodesInOrderWithWhatTheyNameAndWhoAnswered)
{
    const QStringList codes{milk, "RU-401301-AAA0277031", "%1 %2", milk, "]d2" + milk, "\u001d" + milk};
    const QJsonValue reply = client.check(codes).json();
    const QJsonArray entries = reply["codes"].toArray();
    ASSERT_EQ(entries.size(), codes.size());
    for (qsizetype i = 0; i < codes.size(); ++i) {
        EXPECT_EQ(entries[i]["cis"], codes[i]);
        EXPECT_EQ(entries[i]["found"], i != 2) << i;
    }
    EXPECT_EQ(entries[0]["gtin"], "04607026010011");
    EXPECT_EQ(entries[0]["printView"], "0104607026010011215rhTuv");
}

TEST_F(Log, TellsWhatWasSentAndHowItEnded)
{
    EXPECT_EQ(client.check({milk}, "site-2").status, 200);
    EXPECT_EQ(client.health("site-1").status, 200);
    stand.behave("site-2", R"({"latencyMs": 1200})");
    client.timeout = 400ms;
    EXPECT_EQ(client.check({}, "site-2").result, CURLE_OPERATION_TIMEDOUT);
    stand.behave("site-2", R"({"cut": {"after": 20, "by": "reset"}})");
    EXPECT_EQ(StandClient(stand).health("site-2").result, CURLE_RECV_ERROR);

    QJsonObject first = stand.requests("site-2")[0];
    EXPECT_TRUE(first.take("headers").toArray().contains(QJsonArray{"X-API-KEY", stand.key()}));
    EXPECT_TRUE(QDateTime::fromString(first.take("time").toString(), Qt::ISODateWithMs).isValid());
    EXPECT_GT(first.take("remotePort").toInt(), 0);
    EXPECT_GT(first.take("connection").toInt(), 0);
    EXPECT_TRUE(first.take("durationMs").isDouble());
    EXPECT_EQ(first, (QJsonObject{{"seq", 1},
                                  {"server", "site-2"},
                                  {"api", "check"},
                                  {"method", "POST"},
                                  {"path", "/api/v4/true-api/codes/check"},
                                  {"body", R"({"codes":["0104607026010011215rhTuv\u001d93VBOs"]})"},
                                  {"status", 200},
                                  {"outcome", "answered"}}));
    // The end of a request that its sender gave up is noticed when the answer is due.
    EXPECT_TRUE(eventually([&] { return stand.requests("site-2")[1]["outcome"] == "peer left"; }));
    EXPECT_EQ(stand.requests("site-2")[1]["status"], 0);
    EXPECT_EQ(stand.requests("site-2")[2]["outcome"], "reset");
    EXPECT_EQ(stand.admin("GET", "/requests?since=2&server=site-2")["requests"].toArray().size(), 2);
}

TEST_F(Log, ForgetsTheOldestBeyondItsBounds)
{
    for (int i = 0; i < 10; ++i)
        (void)client.send("POST", stand.url("site-1"), QByteArray(8 << 20, ' '), {"Expect:"});
    const QJsonValue log = stand.admin("GET", "/requests");
    EXPECT_EQ(log["forgotten"], 3) << "eight bodies would fit, but not with their heads";
    EXPECT_EQ(log["requests"][0]["seq"], 4);
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

    const QString twin = path + "twin";
    stand.admin("PUT", twin, "{}");
    stand.admin("DELETE", twin, "");
    EXPECT_TRUE(stand.admin("GET", path)["reply"]["offline"]["expireDate"].isString())
        << "by its identifying part";

    stand.behave("site-1", second);
    stand.admin("PUT", "/modules/module-1", R"({"state": "sync_error"})");
    stand.admin("POST", "/reset");
    EXPECT_TRUE(stand.requests().isEmpty());
    const QJsonValue site = stand.admin("GET", "/state")["servers"][1];
    EXPECT_EQ(site["name"], "site-1");
    EXPECT_EQ(site["requests"], 0);
    EXPECT_EQ(site["connections"], 0);
    EXPECT_EQ(client.entry(code)["found"], false);
    EXPECT_EQ(stand.admin("GET", "/modules/module-1")["state"], "ready");
}
