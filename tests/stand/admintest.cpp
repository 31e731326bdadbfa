#include <QDateTime>
#include <QUrl>

#include "tests/stand/standtest.h"

using Admin = StandTest;

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
    const QJsonValue site = stand.admin("GET", "/state")["servers"][1];
    EXPECT_EQ(site["name"], "site-1");
    EXPECT_EQ(site["requests"], 0);
    EXPECT_EQ(site["connections"], 0);
    EXPECT_EQ(client.entry(code)["found"], false);
    EXPECT_EQ(stand.admin("GET", "/modules/module-1")["state"], "ready");
}

TEST(LogOverTls, TellsOfDurationsAndOfConnectionsThatCameToNothing)
{
    const MarkSim stand({"--tls"});
    StandClient client(stand);
    EXPECT_EQ(client.health().status, 0) << "the authority is not trusted";
    client.caFile = stand.ready()["caFile"].toString().toUtf8();
    stand.behave("site-1", R"([{"connect": "reset", "times": 1}, {"latencyMs": 300}])");
    EXPECT_EQ(client.health().status, 0);
    EXPECT_EQ(client.health().status, 200);
    EXPECT_EQ(stand.requests("site-1").size(), 1) << "only requests, unless connections are asked for";
    const QJsonArray log = stand.admin("GET", "/requests?connections=1&server=site-1")["requests"].toArray();
    ASSERT_EQ(log.size(), 3);
    EXPECT_EQ(log[0]["outcome"], "handshake failed");
    EXPECT_TRUE(log[0]["reason"].toString().contains("unknown ca")) << toJson(log[0]).data();
    EXPECT_EQ(log[0]["method"], "");
    EXPECT_EQ(log[1]["outcome"], "reset");
    EXPECT_GE(log[2]["durationMs"].toInt(), 300);
    EXPECT_LT(log[2]["durationMs"].toInt(), 5000);
}
