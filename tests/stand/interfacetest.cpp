#include "httpclient.h"

#include <QFile>
#include <QSet>
#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

const QString milk = u"0104607026010011215rhTuv\u001d93VBOs"_s;

QJsonArray listedGoods(StandClient& client)
{
    return client.admin("GET", "/goods").object()["goods"_L1].toArray();
}

QStringList listedCodes(StandClient& client)
{
    QStringList codes;
    const auto goods = listedGoods(client);
    for (const auto& good : goods)
        codes << good["code"_L1].toString();
    return codes;
}

}  // namespace

TEST(Interface, AnswersPathVerbKeyAndBodyAsTheOperatorDoes)
{
    struct Case
    {
        std::string server, verb, path, body;
        bool withKey;
        long status;
    };
    const std::string info = "/api/v4/true-api/cdn/info";
    const std::string health = "/api/v4/true-api/cdn/health/check";
    const std::string check = "/api/v4/true-api/codes/check";
    const std::vector<Case> cases = {
        {"operator-1", "GET", info, "", true, 200},
        {"operator-1", "GET", info, "{}", true, 200},
        {"operator-1", "GET", health, "", true, 200},
        {"operator-1", "GET", info, "", false, 401},
        {"operator-1", "POST", info, "{}", true, 405},
        {"operator-1", "POST", check, R"({"codes":[]})", true, 404},
        {"site-2", "GET", health, "", true, 200},
        {"site-2", "GET", info, "", true, 404},
        {"site-2", "GET", "/codes/check", "", true, 404},
        {"site-2", "GET", check, "", true, 405},
        {"site-2", "POST", check, R"({"codes":[]})", true, 200},
        {"site-2", "POST", check, R"({"codes":[]})", false, 401},
        {"site-2", "POST", check, R"({"codes":)", true, 400},
        {"site-2", "POST", check, R"(["x"])", true, 400},
        {"site-2", "POST", check, R"({"cis":["x"]})", true, 400},
        {"site-2", "POST", check, R"({"codes":["x",1]})", true, 400},
        {"site-2", "POST", check, "", true, 400},
    };
    const StandProcess stand({"--sites", "2"});
    StandClient client(stand);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.server + ' ' + c.verb + ' ' + c.path + ' ' + c.body);
        const auto reply =
            client.send(c.verb, stand.url(c.server) + c.path, c.body,
                        c.withKey ? client.keyHeader() : std::vector<std::string>{"X-API-KEY: other"});
        EXPECT_EQ(reply.status, c.status);
        EXPECT_EQ(reply.object()["code"_L1].toInt(-1), c.status == 200 ? 0 : c.status);
        EXPECT_FALSE(reply.object()["description"_L1].toString().isEmpty());
    }
}

TEST(Interface, EachServerIsNamedOnceWhenReadyAndTheOperatorListsEverySite)
{
    const StandProcess stand(
        {"--operators", "2", "--sites", "4", "--modules", "2", "--key", "one", "--key", "two"});
    EXPECT_EQ(stand.ready()["keys"_L1], (QJsonArray{u"one"_s, u"two"_s}));
    EXPECT_EQ(stand.ready()["modules"_L1][1]["token"_L1].toString(), u"two"_s);
    EXPECT_TRUE(stand.ready()["caFile"_L1].isNull());
    StandClient client(stand);
    const auto info =
        client.get(stand.url("operator-2") + "/api/v4/true-api/cdn/info", client.keyHeader()).object();
    QJsonArray expected;
    for (const auto* site : {"site-1", "site-2", "site-3", "site-4"})
        expected.append(QJsonObject{{"host"_L1, QString::fromStdString(stand.url(site))}});
    EXPECT_EQ(info["hosts"_L1].toArray(), expected);
}

TEST(Check, EchoesCodesInOrderWithWhatTheyNameAndWhoAnswered)
{
    const StandProcess stand;
    StandClient client(stand);
    const QStringList codes{milk, u"RU-401301-AAA0277031"_s, u"%1 %2"_s,
                            milk, u"]d2"_s + milk,           u"\u001d"_s + milk};
    const auto reply = client.check(codes).object();
    const auto entries = reply["codes"_L1].toArray();
    ASSERT_EQ(entries.size(), codes.size());
    for (qsizetype i = 0; i < codes.size(); ++i) {
        EXPECT_EQ(entries[i]["cis"_L1].toString(), codes[i]);
        EXPECT_EQ(entries[i]["found"_L1].toBool(), i != 2) << i;
    }
    EXPECT_EQ(entries[0]["gtin"_L1].toString(), u"04607026010011"_s);
    EXPECT_EQ(entries[0]["printView"_L1].toString(), milk.section(u'\u001d', 0, 0));
    EXPECT_EQ(entries[0]["groupIds"_L1], QJsonArray{8});
    EXPECT_FALSE(entries[2]["valid"_L1].toBool());
    EXPECT_FALSE(reply["reqId"_L1].toString().isEmpty());
    EXPECT_GT(reply["reqTimestamp"_L1].toDouble(), 1.6e12);
    EXPECT_FALSE(reply["inst"_L1].toString().isEmpty());
    EXPECT_FALSE(reply["version"_L1].toString().isEmpty());
    EXPECT_NE(client.check(codes).object()["reqId"_L1], reply["reqId"_L1]);
}

/// The goods are worth having only if every answer that a client can meet is among them.
TEST(Goods, TogetherShowEveryFlagAndEverySideDatum)
{
    const StandProcess stand;
    StandClient client(stand);
    const auto codes = listedCodes(client);
    ASSERT_GE(codes.size(), 25);
    EXPECT_EQ(codes.size(), stand.ready()["goods"_L1].toInt());
    QSet<QString> seen;
    const auto entries = client.check(codes).object()["codes"_L1].toArray();
    for (const auto& value : entries) {
        const auto entry = value.toObject();
        for (const auto key : {"valid"_L1, "verified"_L1, "found"_L1, "realizable"_L1, "utilised"_L1,
                               "sold"_L1, "grayZone"_L1, "isBlocked"_L1, "isOwner"_L1, "isGreyGtin"_L1,
                               "isTracking"_L1, "isCheckedOffline"_L1, "prVetControl"_L1}) {
            if (entry[key].isBool())
                seen << key + u'=' + (entry[key].toBool() ? u'1' : u'0');
        }
        const auto expiry = QDateTime::fromString(entry["expireDate"_L1].toString(), Qt::ISODateWithMs);
        if (expiry.isValid())
            seen << (expiry < QDateTime::currentDateTimeUtc() ? u"expired"_s : u"fresh"_s);
        if (entry.contains("productWeight"_L1))
            seen << (entry["productWeight"_L1].toInt() > 0 ? u"weight"_s : u"no weight"_s);
        for (const auto key : {"message"_L1, "ogvs"_L1}) {
            if (!entry[key].toString().isEmpty())
                seen << key;
        }
        for (const auto key : {"mrp"_L1, "errorCode"_L1}) {
            if (entry[key].toInt() > 0)
                seen << key;
        }
        if (entry["grayZone"_L1].toBool() && !entry["realizable"_L1].toBool())
            seen << u"gray and not realizable"_s;
        seen << u"group %1"_s.arg(entry["groupIds"_L1][0].toInt());
    }
    for (const auto* expected : {"valid=0",      "verified=0",
                                 "found=0",      "realizable=0",
                                 "utilised=0",   "sold=1",
                                 "grayZone=1",   "isBlocked=1",
                                 "isOwner=0",    "isGreyGtin=1",
                                 "isTracking=0", "isCheckedOffline=1",
                                 "valid=1",      "expired",
                                 "fresh",        "weight",
                                 "no weight",    "message",
                                 "ogvs",         "mrp",
                                 "errorCode",    "gray and not realizable",
                                 "group 8",      "group 3"})
        EXPECT_TRUE(seen.contains(QString::fromLatin1(expected))) << expected;
}

TEST(Goods, CarryRightGtinsAndGroupSeparators)
{
    const StandProcess stand;
    StandClient client(stand);
    const auto codes = listedCodes(client);
    EXPECT_EQ(QSet<QString>(codes.begin(), codes.end()).size(), codes.size());
    int separated = 0;
    for (const auto& code : codes) {
        separated += code.contains(u'\u001d') ? 1 : 0;
        if (code.startsWith(u"RU"_s))
            continue;
        const auto gtin = code.mid(code.contains(u'\u001d') ? 2 : 0, 14);
        int sum = 0;
        for (int i = 0; i < 14; ++i)
            sum += gtin[i].digitValue() * (i % 2 == 0 ? 3 : 1);
        EXPECT_EQ(sum % 10, 0) << code.toStdString();
    }
    EXPECT_GE(separated, 20);
}

TEST(Goods, TheSampleBasketMixesGoodAndBadOnes)
{
    const StandProcess stand;
    StandClient client(stand);
    QFile file(QStringLiteral(SAMPLES_FOLDER "/basket.txt"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    auto text = QString::fromUtf8(file.readAll());
    ASSERT_TRUE(text.endsWith(u'\n'));
    text.chop(1);
    text.replace(u"<GS>"_s, u"\u001d"_s);
    const auto codes = text.split(u'\n');
    EXPECT_GE(codes.size(), 10);
    int sold = 0;
    const auto entries = client.check(codes).object()["codes"_L1].toArray();
    for (const auto& entry : entries) {
        EXPECT_TRUE(entry["found"_L1].toBool()) << entry["cis"_L1].toString().toStdString();
        sold += entry["sold"_L1].toBool() || entry["isBlocked"_L1].toBool() ? 1 : 0;
    }
    EXPECT_GT(sold, 0);
    EXPECT_LT(sold, codes.size() / 2);
}

TEST(Connections, AreKeptOpenUntilThePeerWantsThemClosed)
{
    const StandProcess stand;
    StandClient client(stand);
    auto closing = client.keyHeader();
    closing.emplace_back("Connection: close");
    const auto health = stand.url("site-1") + "/api/v4/true-api/cdn/health/check";
    EXPECT_TRUE(client.get(health, client.keyHeader()).hasHeader("Connection: keep-alive"));
    EXPECT_TRUE(client.get(health, closing).hasHeader("Connection: close"));
    (void)client.get(health, client.keyHeader());
    const auto log = client.requests("site-1");
    ASSERT_EQ(log.size(), 3);
    EXPECT_EQ(log[0]["connection"_L1], log[1]["connection"_L1]);
    EXPECT_NE(log[1]["connection"_L1], log[2]["connection"_L1]);
    EXPECT_NE(log[1]["remotePort"_L1], log[2]["remotePort"_L1]);
}

TEST(Connections, ALargeBodyIsPromisedToBeReadAndTooLargeOneIsRefused)
{
    const StandProcess stand;
    StandClient client(stand);
    const QStringList codes(20'000, milk);
    const auto reply = client.check(codes);  // libcurl waits for "100 Continue" with a body of this size
    EXPECT_EQ(reply.object()["codes"_L1].toArray().size(), codes.size());
    EXPECT_LT(reply.elapsed, std::chrono::seconds(20));
    const std::string tooLarge(65UL * 1024 * 1024, ' ');
    EXPECT_EQ(client.send("POST", stand.url("site-1") + "/", tooLarge, {"Expect:"}).status, 413);
}

TEST(Log, TellsWhatWasSentAndHowItEnded)
{
    const StandProcess stand;
    StandClient client(stand);
    (void)client.check({milk}, "site-2");
    (void)client.health("site-1");
    client.behave("site-2", R"({"latencyMs": 1200})");
    client.setTimeout(std::chrono::milliseconds(400));
    EXPECT_EQ(client.check({}, "site-2").result, CURLE_OPERATION_TIMEDOUT);
    client.setTimeout(std::chrono::seconds(20));
    client.behave("site-2", R"({"cut": {"after": 20, "by": "reset"}})");
    (void)StandClient(stand).health("site-2");

    const auto first = client.requests("site-2")[0].toObject();
    EXPECT_EQ(first["seq"_L1].toInt(), 1);
    EXPECT_EQ(first["api"_L1].toString(), u"check"_s);
    EXPECT_EQ(first["method"_L1].toString(), u"POST"_s);
    EXPECT_EQ(first["path"_L1].toString(), u"/api/v4/true-api/codes/check"_s);
    EXPECT_EQ(first["body"_L1].toString(), u"{\"codes\":[\"0104607026010011215rhTuv\\u001d93VBOs\"]}"_s);
    EXPECT_EQ(first["status"_L1].toInt(), 200);
    EXPECT_EQ(first["outcome"_L1].toString(), u"answered"_s);
    EXPECT_TRUE(first["headers"_L1].toArray().contains(
        QJsonArray{u"X-API-KEY"_s, QString::fromStdString(stand.key())}));
    EXPECT_TRUE(QDateTime::fromString(first["time"_L1].toString(), Qt::ISODateWithMs).isValid());

    // The end of a request that its sender gave up is noticed when the answer is due.
    const auto outcomeOf = [&client](qsizetype index) {
        return client.requests("site-2")[index]["outcome"_L1].toString();
    };
    for (int i = 0; i < 1000 && outcomeOf(1) == u"pending"_s; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(outcomeOf(1), u"peer left"_s);
    EXPECT_EQ(client.requests("site-2")[1]["status"_L1].toInt(), 0);
    EXPECT_EQ(outcomeOf(2), u"reset"_s);

    EXPECT_EQ(client.admin("GET", "/requests?since=2").object()["requests"_L1].toArray().size(), 3);
    EXPECT_EQ(client.admin("DELETE", "/requests").status, 200);
    EXPECT_EQ(client.admin("GET", "/requests").object(),
              (QJsonObject{{"requests"_L1, QJsonArray()}, {"next"_L1, 5}, {"forgotten"_L1, 0}}));
}

TEST(Log, ForgetsTheOldestBeyondItsBounds)
{
    const StandProcess stand;
    StandClient client(stand);
    for (int i = 0; i < 10; ++i)
        (void)client.send("POST", stand.url("site-1") + "/", std::string(8UL * 1024 * 1024, ' '),
                          {"Expect:"});
    const auto log = client.admin("GET", "/requests").object();
    EXPECT_EQ(log["forgotten"_L1].toInt(), 2);
    EXPECT_EQ(log["requests"_L1][0]["seq"_L1].toInt(), 3);
}
