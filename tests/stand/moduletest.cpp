#include "httpclient.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QString milkCis = u"0104607026010011215rhTuv"_s;

/// A stand whose module waits to be configured, and a client with the module's credentials.
class Module : public testing::Test
{
protected:
    Module() { configure(R"({"state": "not_configured"})"); }

    void configure(const std::string& settings)
    {
        EXPECT_EQ(client.admin("PUT", "/modules/module-1", settings).status, 200);
    }

    Reply ask(const std::string& verb, const std::string& path, const std::string& body = {})
    {
        return client.send(verb, stand.url("module-1") + path, body, {authorization});
    }

    QString status() { return ask("GET", "/api/v2/status").object()["status"_L1].toString(); }

    Reply check(const QStringList& codes)
    {
        QJsonArray list;
        for (const auto& code : codes)
            list.append(QJsonObject{{"cis"_L1, code}});
        return ask("POST", "/api/v2/cis/outCheck", toJson({{"cis_list"_L1, list}}));
    }

    /// What the module answered, as "cis:blocked", one list a group.
    QList<QStringList> verdicts(const QStringList& codes)
    {
        QList<QStringList> groups;
        const auto results = check(codes).object()["results"_L1].toArray();
        for (const auto& result : results) {
            QStringList group;
            const auto entries = result["codes"_L1].toArray();
            for (const auto& entry : entries) {
                EXPECT_TRUE(entry["isCheckedOffline"_L1].toBool());
                group << entry["cis"_L1].toString() +
                             (entry["isBlocked"_L1].toBool() ? u":blocked"_s : u":ok"_s);
            }
            groups << group;
        }
        return groups;
    }

    std::string tokenBody(const QString& more = {})
    {
        const auto token = stand.ready()["modules"_L1][0]["token"_L1].toString();
        return u"{\"token\":\"%1\"%2}"_s.arg(token, more).toStdString();
    }

    const StandProcess stand;
    StandClient client{stand};
    std::string authorization = "Authorization: Basic YWRtaW46YWRtaW4=";
};

}  // namespace

TEST_F(Module, RefusesWrongCredentialsPathsVerbsAndBodies)
{
    struct Case
    {
        std::string verb, path, body;
        long status;
        int errorCode;
    };
    configure(R"({"state": "ready"})");
    const std::vector<Case> cases = {
        {"POST", "/api/v2/status", "{}", 405, 0},
        {"GET", "/api/v2/init", "", 405, 0},
        {"GET", "/api/v1/status", "", 404, 0},
        {"POST", "/api/v2/init", "{}", 400, 1},
        {"POST", "/api/v2/init", R"({"token": 1})", 400, 1},
        {"POST", "/api/v2/init", R"({"token": "another"})", 403, 3},
        {"POST", "/api/v2/cis/outCheck", R"({"cis_list": ["x"]})", 400, 1},
        {"POST", "/api/v2/cis/outCheck", "[", 400, 1},
        {"POST", "/api/v2/greyList", tokenBody(), 400, 1},
        {"POST", "/api/v2/greyList", R"({"token": "another", "enableGreyList": true})", 403, 3},
    };
    for (const auto& c : cases) {
        const auto reply = ask(c.verb, c.path, c.body);
        EXPECT_EQ(reply.status, c.status) << c.verb << c.path << c.body;
        EXPECT_EQ(reply.object()["errorCode"_L1].toInt(), c.errorCode) << c.path << c.body;
    }
    for (const auto* wrong :
         {"Authorization: Basic Og==", "Authorization: Bearer YWRtaW46YWRtaW4=", "X: y"}) {
        authorization = wrong;
        EXPECT_EQ(ask("GET", "/api/v2/status").status, 401) << wrong;
    }
}

TEST_F(Module, GoesFromATokenOverInitialisationToReady)
{
    configure(R"({"readyAfterMs": 3600000})");
    EXPECT_EQ(status(), u"not_configured"_s);
    EXPECT_EQ(check({milkCis}).status, 503);
    EXPECT_EQ(ask("POST", "/api/v2/init", tokenBody(u",\"enableGreyList\":true"_s)).status, 200);
    EXPECT_EQ(status(), u"initialization"_s);
    EXPECT_EQ(client.admin("GET", "/modules/module-1").object()["greyList"_L1], QJsonValue(true));

    configure(R"({"state": "not_configured", "readyAfterMs": 0})");
    EXPECT_EQ(ask("POST", "/api/v2/init", tokenBody()).status, 200);
    EXPECT_EQ(status(), u"ready"_s);
    EXPECT_EQ(check({milkCis}).status, 200);
}

TEST_F(Module, ARefusedInitialisationLeavesItNotConfigured)
{
    client.behave("module-1", R"([{"method": "init", "status": 500, "body": {"errorCode": 7}, "times": 1},
                                  {"method": "greyList", "status": 400, "text": ""}])");
    const auto refused = ask("POST", "/api/v2/init", tokenBody());
    EXPECT_EQ(refused.status, 500);
    EXPECT_EQ(refused.body, R"({"errorCode":7})");
    EXPECT_EQ(status(), u"not_configured"_s);
    const auto grey = ask("POST", "/api/v2/greyList", tokenBody(u",\"enableGreyList\":true"_s));
    EXPECT_EQ(grey.status, 400);
    EXPECT_TRUE(grey.body.empty());
    EXPECT_TRUE(client.admin("GET", "/modules/module-1").object()["greyList"_L1].isNull());
}

TEST_F(Module, KeepsTheGreyListAsItIsTold)
{
    configure(R"({"state": "ready"})");
    for (const bool wanted : {true, false}) {
        const auto body = tokenBody(wanted ? u",\"enableGreyList\":true"_s : u",\"enableGreyList\":false"_s);
        EXPECT_EQ(ask("POST", "/api/v2/greyList", body).status, 200);
        EXPECT_EQ(client.admin("GET", "/modules/module-1").object()["greyList"_L1], QJsonValue(wanted));
    }
}

TEST_F(Module, ChecksByIdentifyingPartFromItsOwnCopyOfTheData)
{
    configure(R"({"state": "ready"})");
    // Blocked in the module alone, though the operator lets it pass; and the other way round.
    const auto onlyHere = u"010460912440003"_s;
    const auto goods = client.admin("GET", "/goods").object()["goods"_L1].toArray();
    QString blockedOffline;
    for (const auto& good : goods) {
        if (good["code"_L1].toString().startsWith(onlyHere))
            blockedOffline = good["code"_L1].toString();
    }
    ASSERT_FALSE(blockedOffline.isEmpty());
    EXPECT_FALSE(client.check({blockedOffline}).object()["codes"_L1][0]["isBlocked"_L1].toBool());
    const auto cis = blockedOffline.section(u'\u001d', 0, 0);
    EXPECT_EQ(verdicts({cis, milkCis, u"unlisted"_s}),
              (QList<QStringList>{{cis + u":blocked"_s, milkCis + u":ok"_s, u"unlisted:ok"_s}}));
    const auto entry = check({milkCis}).object()["results"_L1][0]["codes"_L1][0].toObject();
    EXPECT_TRUE(entry.contains("expireDate"_L1));
    EXPECT_EQ(entry["groupIds"_L1], QJsonArray{8});
}

TEST_F(Module, LeavesOutRepeatsContradictsAndAddsCodesOnDemand)
{
    configure(R"({"state": "ready"})");
    const QStringList asked{u"a"_s, u"b"_s, u"c"_s};
    const std::vector<std::pair<std::string, QList<QStringList>>> cases = {
        {"[]", {{u"a:ok"_s, u"b:ok"_s, u"c:ok"_s}}},
        {R"({"answers": {"omit": ["b"]}})", {{u"a:ok"_s, u"c:ok"_s}}},
        {R"({"answers": {"omit": ["*"]}})", {{}}},
        {R"({"answers": {"groups": 0}})", {}},
        {R"({"answers": {"groups": 3}})", {{u"a:ok"_s}, {u"b:ok"_s}, {u"c:ok"_s}}},
        {R"({"answers": {"repeat": ["a"], "add": ["x"]}})",
         {{u"a:ok"_s, u"b:ok"_s, u"c:ok"_s, u"a:ok"_s, u"x:ok"_s}}},
        {R"({"answers": {"omit": ["b", "c"], "contradict": ["a"], "groups": 2}})",
         {{u"a:ok"_s}, {u"a:blocked"_s}}},
    };
    for (const auto& [behaviour, expected] : cases) {
        client.behave("module-1", behaviour);
        EXPECT_EQ(verdicts(asked), expected) << behaviour;
    }
}
