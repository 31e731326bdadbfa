#include <QUrl>

#include "tests/stand/standtest.h"

namespace {

/// A stand whose site-1 passes requests on to another stand.
class Proxy : public testing::Test
{
protected:
    Proxy()
    {
        real.admin("PUT", "/goods/" + QUrl::toPercentEncoding(milk), R"({"online": {"sold": true}})");
        stand.behave("site-1", QJsonObject{{"proxy", real.url("site-2")}});
    }

    MarkSim real{{"--key", "of-the-real-one"}};
    MarkSim stand{{"--key", "of-the-real-one"}};
    StandClient client{stand};
};

}  // namespace

TEST_F(Proxy, GivesTheRepliesOfTheRealServerWithFaultsOnTheWay)
{
    EXPECT_EQ(client.entry(milk)["sold"], true) << "the stand's own goods are not sold";
    EXPECT_EQ(StandClient(stand).check({milk}, "site-2").json()["codes"][0]["sold"], false);
    const QJsonObject passedOn = real.requests("site-2", "check").value(0);
    EXPECT_TRUE(passedOn["headers"].toArray().contains(QJsonArray{"X-API-KEY", "of-the-real-one"}));
    EXPECT_TRUE(passedOn["headers"].toArray().contains(QJsonArray{"Host", real.url("site-2").mid(7)}));

    stand.admin("POST", "/behaviours/site-1?first=1",
                R"([{"status": 503, "times": 1}, {"set": {"/codes/0/isBlocked": true}, "latencyMs": 200}])");
    EXPECT_EQ(client.check({milk}).status, 503);
    EXPECT_EQ(client.entry(milk)["isBlocked"], true);
    EXPECT_EQ(client.entry(milk)["sold"], true) << "beneath the faults";
    EXPECT_EQ(real.requests("site-2", "check").size(), 3) << "a status takes the reply's place";
    EXPECT_GE(stand.requests("site-1").last()["durationMs"].toInt(), 200);
}

TEST_F(Proxy, TellsWhyNothingCameBack)
{
    real.behave("site-2", R"({"connect": "refuse"})");
    const HttpReply refused = client.health("site-1");
    EXPECT_EQ(refused.status, 502);
    EXPECT_EQ(refused.json()["description"], "proxy: Connection refused") << "and no place in a source";
    const MarkSim tls({"--tls"});
    stand.behave("site-1", QJsonObject{{"proxy", tls.url("site-1")}});
    EXPECT_TRUE(client.health().json()["description"].toString().contains("certificate verify failed"));
    for (const char* address : {"ftp://host", "http://", "http://host/?x=1", "https://user@host"}) {
        EXPECT_EQ(stand.ask("PUT", "/behaviours/site-1", toJson(QJsonObject{{"proxy", address}})).status, 400)
            << address;
    }
}

TEST_F(Proxy, EndsACircleOfProxies)
{
    real.behave("site-2", QJsonObject{{"proxy", stand.url("site-1")}});
    EXPECT_EQ(client.health().status, 508) << "two stands";
    EXPECT_EQ(stand.requests("site-1").size(), 1);
    stand.behave("site-2", QJsonObject{{"proxy", stand.url("site-2")}});
    EXPECT_EQ(client.health("site-2").status, 508) << "a server and itself";
    EXPECT_EQ(stand.requests("site-2").size(), 2);
}
