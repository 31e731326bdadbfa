#include "tests/stand/standtest.h"

namespace {

/// A stand with a module that is ready, and its credentials.
class Module : public StandTest
{
protected:
    HttpReply ask(const char* verb, const QString& path, const QByteArray& body = {})
    {
        return client.send(verb, stand.url("module-1") + path, body, {authorization});
    }

    HttpReply check(const QStringList& codes)
    {
        QJsonArray list;
        for (const QString& code : codes)
            list << QJsonObject{{"cis", code}};
        return ask("POST", "/api/v2/cis/outCheck", toJson(QJsonObject{{"cis_list", list}}));
    }

    /// What the module answers: " code" each, blocked ones with "!", and "|" between groups.
    QString verdicts(const QStringList& codes)
    {
        QStringList groups;
        const QJsonArray results = check(codes).json()["results"].toArray();
        for (const QJsonValue result : results) {
            QString group;
            const QJsonArray entries = result["codes"].toArray();
            for (const QJsonValue entry : entries) {
                EXPECT_TRUE(entry["isCheckedOffline"].toBool());
                group += ' ' + entry["cis"].toString() + (entry["isBlocked"].toBool() ? "!" : "");
            }
            groups << group;
        }
        return groups.join('|');
    }

    QByteArray withToken(QJsonObject body = {})
    {
        body.insert("token", stand.module()["token"]);
        return toJson(body);
    }

    QString authorization = "Authorization: Basic YWRtaW46YWRtaW4=";
};

TEST_F(Module, RefusesWrongCredentialsPathsVerbsAndBodies)
{
    struct Case
    {
        const char *verb, *path;
        QByteArray body;
        long status;
        int errorCode;
    };
    const Case cases[] = {
        {"POST", "/api/v2/status", "{}", 405, 0},
        {"GET", "/api/v1/status", "", 404, 0},
        {"POST", "/api/v2/init", R"({"token": 1})", 400, 1},
        {"POST", "/api/v2/init", R"({"token": "another"})", 403, 3},
        {"POST", "/api/v2/cis/outCheck", R"({"cis_list": ["x"]})", 400, 1},
        {"POST", "/api/v2/cis/outCheck", "[", 400, 1},
        {"POST", "/api/v2/greyList", withToken(), 400, 1},
        {"POST", "/api/v2/greyList", R"({"token": "another", "enableGreyList": true})", 403, 3},
    };
    for (const Case& c : cases) {
        const HttpReply reply = ask(c.verb, c.path, c.body);
        EXPECT_EQ(reply.status, c.status) << c.verb << c.path << c.body.data();
        EXPECT_EQ(reply.json()["errorCode"].toInt(), c.errorCode) << c.path << c.body.data();
    }
    for (const char* wrong :
         {"Authorization: Basic Og==", "Authorization: Bearer YWRtaW46YWRtaW4=", "X: y"}) {
        authorization = wrong;
        EXPECT_EQ(ask("GET", "/api/v2/status").status, 401) << wrong;
    }
}

TEST_F(Module, IsInitialisedByATokenUnlessItRefuses)
{
    stand.admin("PUT", "/modules/module-1", R"({"state": "not_configured", "readyAfterMs": 3600000})");
    stand.behave("module-1", R"({"method": "init", "status": 500, "body": {"errorCode": 7}, "times": 1})");
    const auto state = [&] { return ask("GET", "/api/v2/status").json()["status"].toString(); };
    EXPECT_EQ(ask("POST", "/api/v2/init", withToken()).body, R"({"errorCode":7})");
    EXPECT_EQ(state(), "not_configured");
    EXPECT_EQ(ask("POST", "/api/v2/init", withToken({{"enableGreyList", true}})).status, 200);
    EXPECT_EQ(state(), "initialization");
    EXPECT_EQ(check({"x"}).status, 503);
    EXPECT_EQ(stand.admin("GET", "/modules/module-1")["greyList"], true);
    EXPECT_EQ(ask("POST", "/api/v2/greyList", withToken({{"enableGreyList", false}})).status, 200);
    EXPECT_EQ(stand.admin("GET", "/modules/module-1")["greyList"], false);
}

TEST_F(Module, LeavesOutRepeatsContradictsAndAddsCodesOnDemand)
{
    const std::pair<const char*, const char*> cases[] = {
        {"[]", " a b c"},
        {R"({"answers": {"omit": ["b"]}})", " a c"},
        {R"({"answers": {"omit": ["*"]}})", ""},
        {R"({"answers": {"groups": 0}})", ""},
        {R"({"answers": {"groups": 3}})", " a| b| c"},
        {R"({"answers": {"repeat": ["a"], "add": ["x"]}})", " a b c a x"},
        {R"({"answers": {"omit": ["b", "c"], "contradict": ["a"], "groups": 2}})", " a| a!"},
    };
    for (const auto& [behaviour, expected] : cases) {
        stand.behave("module-1", behaviour);
        EXPECT_EQ(verdicts({"a", "b", "c"}), expected) << behaviour;
    }
}

}  // namespace
