#include "tests/stand/standtest.h"

namespace {

/// A stand that serves its page.
class Page : public testing::Test
{
protected:
    [[nodiscard]] HttpReply send(const char* verb, const QString& path, const QByteArray& body = {},
                                 const QStringList& headers = {}) const
    {
        return client.send(verb, admin + path, body, headers);
    }

    MarkSim stand{{"--page"}};
    StandClient client{stand};
    QString admin = stand.ready()["admin"].toString();
};

const QByteArray refuse = R"({"connect": "refuse"})";

}  // namespace

/// No foreign page, by whatever address it reaches this port, gets the stand to change anything.
TEST_F(Page, IsTheOnlyPageThatMayChangeAnything)
{
    const QString port = admin.mid(admin.lastIndexOf(':'));
    const QStringList foreign[] = {
        {"Origin: null"},
        {"Origin: https" + admin.mid(4)},
        {"Origin: http://127.0.0.1:1"},
        {"Origin: " + admin + ".example"},
        {"Origin: http://localhost" + port},
        {"Origin: " + admin, "Host: rebound.example" + port},
        {"Origin: http://rebound.example" + port, "Host: rebound.example" + port},
        {"Host: 127.0.0.1.rebound.example"},
        {"Host:"},
    };
    const std::tuple<const char*, const char*, QByteArray> orders[] = {
        {"PUT", "/behaviours/all", refuse},
        {"POST", "/behaviours/all", refuse},
        {"DELETE", "/behaviours/site-2", ""},
        {"PUT", "/goods/x", "{}"},
        {"DELETE", "/goods/RU-401301-AAA0277031", ""},
        {"PUT", "/modules/module-1", R"({"state": "sync_error"})"},
        {"PUT", "/scenario", R"({"keys": ["x"]})"},
        {"POST", "/scenarios/blackout", ""},
        {"POST", "/reset", ""},
        {"DELETE", "/requests", ""},
    };
    stand.behave("site-2", R"({"status": 418})");
    EXPECT_EQ(client.health("site-2").status, 418);
    const QJsonValue before = stand.admin("GET", "/state");
    for (const auto& headers : foreign) {
        for (const auto& [verb, path, body] : orders)
            EXPECT_EQ(send(verb, path, body, headers).status, 403)
                << verb << path << headers.join(' ').toStdString();
    }
    EXPECT_EQ(stand.admin("GET", "/state"), before);
    EXPECT_EQ(stand.requests().size(), 1);
    EXPECT_EQ(send("POST", "/reset", {}, {"Origin: " + admin}).status, 200);
    EXPECT_EQ(send("GET", "/state", {}, {"Host: localhost" + port, "Origin: http://localhost" + port}).status,
              200);
}

TEST_F(Page, RefusesWhatItDoesNotKnowWithAReasonAndChangesNothing)
{
    const QByteArray manyBehaviours = '[' + QByteArray("{},").repeated(1000) + "{}]";
    struct Order
    {
        const char *verb, *path;
        QByteArray body;
        long status;
        const char* reason;
    };
    const Order orders[] = {
        {"PUT", "/goods/%ff", "{}", 400, "path: not UTF-8"},
        {"PUT", "/goods/x", QByteArray(5 << 20, ' '), 413, "body limit exceeded"},
        {"PUT", "/modules/module-1", R"({"state": "Ready"})", 400, "\"Ready\" is not one of not_configured"},
        {"PUT", "/behaviours/site-1", R"([{}, {"status": 99}])", 400, "body[1].status: must be"},
        {"PUT", "/behaviours/site-1", R"({"headers": {"A": "1\r\nB: 2"}})", 400,
         "body.headers.A: must be one line"},
        {"PUT", "/behaviours/site-1", R"({"connect": "reset", "status": 500})", 400, "cannot stand beside"},
        {"GET", "/..%2fdata%2fgoods.json", "", 404, "no such path"},
        {"PUT", "/page.css", "{}", 405, "does not take this method"},
        {"GET", "/goods?x=1", "", 400, "unknown parameter \"x\""},
        {"GET", "/requests?brief=2", "", 400, "\"brief\" must be 0 or 1"},
        {"POST", "/reset", "{}", 400, "body: there must be none"},
        {"POST", "/behaviours/all?first=yes", "{}", 400, "\"first\" must be a number"},
        {"POST", "/behaviours/all", manyBehaviours, 400, "at most 1000 behaviours"},
        {"POST", "/scenarios/tls", "", 400, "start marksim with --tls"},
    };
    stand.behave("site-1", R"({"status": 418})");
    for (const Order& order : orders) {
        const HttpReply reply = send(order.verb, order.path, order.body);
        EXPECT_EQ(reply.status, order.status) << order.path;
        EXPECT_TRUE(reply.json()["error"].toString().contains(order.reason))
            << order.path << reply.body.data();
    }
    EXPECT_EQ(client.health().status, 418);
}

TEST_F(Page, IsServedConfinedAndOnlyWhenAskedFor)
{
    EXPECT_EQ(stand.ready()["page"], admin + '/');
    for (const char* path : {"/", "/main.js", "/page.css", "/favicon.svg", "/state"}) {
        const HttpReply reply = send("GET", path);
        EXPECT_EQ(reply.status, 200) << path;
        EXPECT_EQ(
            reply.headers.filter("Content-Security-Policy: default-src 'none'; script-src 'self';").size(),
            1);
        EXPECT_TRUE(reply.headers.contains("X-Content-Type-Options: nosniff")) << path;
    }
    const HttpReply wrongVerb = send("DELETE", "/");
    EXPECT_EQ(wrongVerb.status, 405);
    EXPECT_TRUE(wrongVerb.headers.contains("Allow: GET"));
    const MarkSim plain;
    EXPECT_EQ(plain.ready()["page"], QJsonValue::Null);
    EXPECT_EQ(plain.ask("GET", "/").status, 404);
}

TEST_F(Page, PlaysScenariosThatNeedFewerServers)
{
    const auto listed = [this] {
        return client
            .send("GET", stand.url("operator-1") + "/api/v4/true-api/cdn/info", {}, {client.keyHeader()})
            .json()["hosts"]
            .toArray();
    };
    stand.admin("PUT", "/scenario", R"({"sites": 1, "modules": 0})");
    EXPECT_EQ(listed(), (QJsonArray{QJsonObject{{"host", stand.url("site-1")}}}));
    EXPECT_EQ(client.health("site-3").result, CURLE_COULDNT_CONNECT);
    EXPECT_FALSE(stand.admin("GET", "/state")["servers"][4]["open"].toBool(true));
    EXPECT_EQ(stand.admin("POST", "/scenarios/calm")["scenario"], "calm");
    EXPECT_EQ(listed().size(), 3);
    EXPECT_EQ(client.health("site-3").status, 200);
    stand.admin("PUT", "/scenario", R"({"keys": ["fresh"]})");
    EXPECT_EQ(client.check({}).status, 401) << "the old key";
}

TEST_F(Page, HasTheSettingsOfATill)
{
    const MarkSim other({"--operators", "2", "--modules", "2", "--key", "k1", "--key", "k2", "--tls"});
    const HttpReply reply = other.ask("GET", "/till.ini");
    EXPECT_TRUE(reply.headers.contains("Content-Type: text/plain;charset=UTF-8"));
    const QString settings = reply.body;
    const QString module = "\n[LMCHZ2]\nenable = true\ntoken = k2\nurl = " + other.url("module-2") +
                           "\nuser = admin\npassword = admin\nmaintain = true\n";
    for (const QString& part :
         {"[Host]\nhosts = " + other.operatorUrls().join(',') + "\nkeys = k1,k2\napiKey = k1\n",
          "\n[Network]\ncaFile = " + other.ready()["caFile"].toString() + '\n', module}) {
        EXPECT_TRUE(settings.contains(part)) << part.toStdString() << reply.body.data();
    }
    EXPECT_FALSE(QString(stand.ask("GET", "/till.ini").body).contains("caFile"));
}
