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
