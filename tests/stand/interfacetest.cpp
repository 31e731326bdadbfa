#include <QDateTime>
#include <QSet>

#include "tests/stand/standtest.h"

using namespace std::chrono_literals;
using Interface = StandTest;
using Log = StandTest;

TEST_F(Interface, AnswersPathVerbKeyAndBodyAsTheOperatorDoes)
{
    struct Case
    {
        const char *server, *verb, *path, *body;
        bool withKey;
        int status;
    };
    const char* const info = "/api/v4/true-api/cdn/info";
    const char* const health = "/api/v4/true-api/cdn/health/check";
    const char* const check = "/api/v4/true-api/codes/check";
    const Case cases[] = {
        {"operator-1", "GET", info, "{}", true, 200},
        {"operator-1", "GET", health, "", true, 200},
        {"operator-1", "GET", info, "", false, 401},
        {"operator-1", "POST", info, "{}", true, 405},
        {"operator-1", "POST", check, R"({"codes":[]})", true, 404},
        {"site-2", "GET", health, "", true, 200},
        {"site-2", "GET", info, "", true, 404},
        {"site-2", "GET", check, "", true, 405},
        {"site-2", "POST", check, R"({"codes":[]})", true, 200},
        {"site-2", "POST", check, R"({"codes":[]})", false, 401},
        {"site-2", "POST", check, R"({"codes":)", true, 400},
        {"site-2", "POST", check, R"({"cis":["x"]})", true, 400},
        {"site-2", "POST", check, R"({"codes":["x",1]})", true, 400},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.server) + c.verb + c.path + c.body);
        const HttpReply reply = client.send(c.verb, stand.url(c.server) + c.path, c.body,
                                            {c.withKey ? client.keyHeader() : "X-API-KEY: other"});
        EXPECT_EQ(reply.status, c.status);
        EXPECT_EQ(reply.json()["code"], c.status == 200 ? 0 : c.status);
        EXPECT_FALSE(reply.json()["description"].toString().isEmpty());
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
    EXPECT_EQ(entries[0]["groupIds"], QJsonArray{8});
    EXPECT_EQ(entries[2]["valid"], false);
    EXPECT_GT(reply["reqTimestamp"].toDouble(), 1.6e12);
    for (const char* key : {"inst", "version", "reqId"})
        EXPECT_FALSE(reply[key].toString().isEmpty()) << key;
    EXPECT_NE(client.check(codes).json()["reqId"], reply["reqId"]);
}

/// The goods are worth having only if every answer that a client can meet is among them.
TEST_F(Interface, GoodsTogetherShowEveryFlagAndEverySideDatum)
{
    QStringList codes;
    const QJsonArray goods = stand.admin("GET", "/goods")["goods"].toArray();
    for (const QJsonValue good : goods)
        codes << good["code"].toString();
    EXPECT_EQ(codes.size(), stand.ready()["goods"].toInt());
    EXPECT_EQ(QSet<QString>(codes.begin(), codes.end()).size(), codes.size());

    QSet<QString> seen;
    const QJsonArray entries = client.check(codes).json()["codes"].toArray();
    for (const QJsonValue value : entries) {
        const QJsonObject entry = value.toObject();
        for (auto field = entry.begin(); field != entry.end(); ++field) {
            if (field->isBool())
                seen << field.key() + (field->toBool() ? "=1" : "=0");
            else if (field->toInt() > 0 || !field->toString().isEmpty())
                seen << field.key();
        }
        const auto expiry = QDateTime::fromString(entry["expireDate"].toString(), Qt::ISODateWithMs);
        if (expiry.isValid())
            seen << (expiry < QDateTime::currentDateTimeUtc() ? "expired" : "fresh");
        if (entry["productWeight"] == 0)
            seen << "no weight";
        if (entry["grayZone"].toBool() && !entry["realizable"].toBool())
            seen << "gray and not realizable";
        seen << "group " + QString::number(entry["groupIds"][0].toInt());
    }
    const QSet<QString> expected{
        "valid=0",   "verified=0",   "found=0",     "realizable=0",  "utilised=0",
        "sold=1",    "grayZone=1",   "isBlocked=1", "isOwner=0",     "isGreyGtin=1",
        "valid=1",   "isTracking=0", "expired",     "fresh",         "isCheckedOffline=1",
        "no weight", "message",      "ogvs",        "productWeight", "gray and not realizable",
        "mrp",       "errorCode",    "group 8",     "group 3"};
    EXPECT_EQ((expected - seen).values(), QStringList());
}

TEST_F(Interface, ALargeBodyIsPromisedToBeReadAndTooLargeOneIsRefused)
{
    const QStringList codes(20'000, milk);
    const HttpReply reply = client.check(codes);  // libcurl waits for "100 Continue" with a body of this size
    EXPECT_EQ(reply.json()["codes"].toArray().size(), codes.size());
    EXPECT_EQ(client.send("POST", stand.url("site-1"), QByteArray(65 << 20, ' '), {"Expect:"}).status, 413);
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
    EXPECT_EQ(first, (QJsonObject{{"seq", 1},
                                  {"server", "site-2"},
                                  {"api", "check"},
                                  {"method", "POST"},
                                  {"path", "/api/v4/true-api/codes/check"},
                                  {"body", R"({"codes":["0104607026010011215rhTuv\u001d93VBOs"]})"},
                                  {"status", 200},
                                  {"outcome", "answered"}}));

    // The end of a request that its sender gave up is noticed when the answer is due.
    EXPECT_TRUE(eventually([&] { return stand.requests("site-2")[1]["outcome"] != "pending"; }));
    EXPECT_EQ(stand.requests("site-2")[1]["outcome"], "peer left");
    EXPECT_EQ(stand.requests("site-2")[1]["status"], 0);
    EXPECT_EQ(stand.requests("site-2")[2]["outcome"], "reset");

    EXPECT_EQ(stand.admin("GET", "/requests?since=2&server=site-2")["requests"].toArray().size(), 2);
    stand.forgetRequests();
    EXPECT_EQ(stand.admin("GET", "/requests"),
              (QJsonObject{{"requests", QJsonArray()}, {"next", 5}, {"forgotten", 0}}));
}

TEST_F(Log, ForgetsTheOldestBeyondItsBounds)
{
    for (int i = 0; i < 10; ++i)
        (void)client.send("POST", stand.url("site-1"), QByteArray(8 << 20, ' '), {"Expect:"});
    const QJsonValue log = stand.admin("GET", "/requests");
    EXPECT_EQ(log["forgotten"], 2);
    EXPECT_EQ(log["requests"][0]["seq"], 3);
}
