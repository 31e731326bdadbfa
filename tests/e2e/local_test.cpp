#include <QJsonDocument>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include "tests/e2e/till.h"
#include <orvex/eactivitylistener.h>

using Result = CheckMarkingCodesResult;

namespace {

/// One [LMCHZ*] section as settings of a till.
QStringList moduleSection(const QString& section, const QJsonObject& module, const QStringList& more = {})
{
    QStringList lines = {"enable=true", "url=" + module["url"].toString(),
                         "user=" + module["user"].toString(), "password=" + module["password"].toString(),
                         "token=" + module["token"].toString()};
    lines += more;
    return lines.replaceInStrings(QRegularExpression("^"), section + ':');
}

void breakOnline(const MarkSim& stand)
{
    stand.behave("sites", R"({"connect": "refuse"})");
    stand.behave("operators", R"({"connect": "refuse"})");
}

class OfflineSale : public testing::Test
{
protected:
    MarkSim stand;
    Till till{stand, moduleSection("LMCHZ1", stand.module(), {"timeout=2"})};

    void SetUp() override { till.connectOperator(); }
};

TEST_F(OfflineSale, VerdictsComeFromTheModule)
{
    breakOnline(stand);
    const QList<MarkingCode> codes = listedGoods(stand);
    const Result result = till.verify(codes);
    EXPECT_EQ(result.errorKind(), http::ErrorKind::None);
    EXPECT_EQ(result.status(), 0) << "the reply part of an offline result is empty";
    EXPECT_EQ(result.passedCodes.size() + result.failedCodes.size(), codes.size());
    for (const auto& failed : result.failedCodes) {
        EXPECT_TRUE(!failed.status || failed.status == Result::Status(Result::Blocked)) << int(failed.status);
    }
    EXPECT_EQ(result.requestInfos.size(), codes.size());
    EXPECT_TRUE(till.logged("info Проверка в режиме офлайн"));
    EXPECT_TRUE(till.logged("debug  статус: ready"));
    const QByteArray request = stand.requests("module-1", "outCheck").value(0)["body"].toString().toUtf8();
    const QJsonArray asked = QJsonDocument::fromJson(request)["cis_list"].toArray();
    EXPECT_EQ(asked.size(), codes.size());
    EXPECT_EQ(asked.at(0), (QJsonObject{{"cis", codes.first().cis()}}));
}

TEST_F(OfflineSale, AlsoFollowsAnEmergencyButNotARefusalOrAMissingToken)
{
    stand.behave("sites", R"({"method": "check", "status": 203})");
    EXPECT_EQ(till.verify({goods::Milk}).errorKind(), http::ErrorKind::None);
    EXPECT_EQ(stand.requests("module-1", "outCheck").size(), 1);

    stand.forgetRequests();
    stand.behave("sites", "[]");
    EXPECT_TRUE(till.verify({goods::ExpiredKefir}).hasError(Result::Expired));
    stand.behave("sites", R"({"method": "check", "status": 401})");
    EXPECT_EQ(till.verify({goods::Milk}).status(), 401);
    EXPECT_TRUE(stand.requests("module-1").isEmpty());
}

TEST_F(OfflineSale, OnlyTheRequestedCodesComeBackAsTheModuleLastSaidOfThem)
{
    struct Case
    {
        QJsonObject twist;
        QList<MarkingCode> passed, failed;
    };
    const QList<MarkingCode> all{goods::Milk, goods::Water, goods::Milk};
    const QJsonArray milk{goods::Milk.cis()};
    const Case cases[] = {
        {{{"omit", milk}}, {goods::Water}, {}},
        {{{"repeat", QJsonArray{"*"}}, {"groups", 3}}, all, {}},
        {{{"contradict", milk}}, all, {goods::Milk}},
        {{{"add", QJsonArray{goods::ExpiredKefir.cis()}}}, all, {}},
        {{{"groups", 0}}, {}, {}},
    };
    breakOnline(stand);
    for (const Case& c : cases) {
        SCOPED_TRACE(toJson(c.twist).toStdString());
        stand.behave("module-1", QJsonObject{{"method", "outCheck"}, {"answers", c.twist}});
        const Result result = till.verify(all);
        EXPECT_EQ(texts(result.passedCodes), texts(c.passed));
        EXPECT_EQ(texts(result.failedCodes.keys()), texts(c.failed));
        EXPECT_EQ(result.hasError(Result::Blocked), !c.failed.isEmpty());
        EXPECT_EQ(result.isSuccess(), c.failed.isEmpty());
    }
}

TEST(OfflineSaleWithSeveralModules, AsksTheOneWhoseTokenIsTheKeyOfTheCheck)
{
    const MarkSim stand({"--modules", "2"});
    QJsonObject other = stand.module(1);
    QJsonObject wanted = stand.module(2);
    other["token"] = "another-token";
    wanted["token"] = stand.key();
    Till till(stand, moduleSection("LMCHZ1", other) + moduleSection("LMCHZ2", wanted));
    till.connectOperator();
    breakOnline(stand);
    EXPECT_EQ(texts(till.verify({goods::Milk}).passedCodes), texts({goods::Milk}));
    EXPECT_TRUE(stand.requests("module-1").isEmpty());
    EXPECT_EQ(stand.requests("module-2", "outCheck").size(), 1);
}

TEST(OfflineSaleWithAWrongModuleSection, LeavesTheOnlineResultAndKeepsThePasswordOutOfTheLog)
{
    for (const QString wrong : {"token", "password"}) {
        SCOPED_TRACE(wrong.toStdString());
        const MarkSim stand;
        QJsonObject module = stand.module();
        module[wrong] = "not-the-right-one";
        Till till(stand, moduleSection("LMCHZ1", module));
        till.connectOperator();
        breakOnline(stand);
        EXPECT_TRUE(till.verify({goods::Milk}).hasError(Result::Unreachable));
        if (wrong == "token") {
            EXPECT_TRUE(till.logged("error Токен для проверки товара в ЛМЧЗ не найден"));
            EXPECT_TRUE(stand.requests("module-1").isEmpty());
        } else {
            EXPECT_EQ(stand.requests("module-1", "status").value(0)["status"], 401);
            EXPECT_FALSE(till.log().join('\n').contains("not-the-right-one"));
        }
    }
}

QList<QJsonObject> callsBesideStatus(const MarkSim& stand)
{
    QList<QJsonObject> calls = stand.requests("module-1");
    calls.removeIf([](const QJsonObject& request) { return request["api"] == "status"; });
    return calls;
}

TEST(Maintenance, FollowsTheConfigurationOnEvent96)
{
    struct Case
    {
        const char* greyList;   // setting enableGreyList, empty for none
        const char* state;      // of the module before the event
        const char* behaviour;  // of the module
        const char* method;     // that is called, empty for none
        QStringList notices;
        const char* maintain = "true";
    };
    const Case cases[] = {
        {"", "not_configured", "[]", "init", {}},
        {"false", "not_configured", "[]", "init", {}},
        {"",
         "not_configured",
         R"({"method": "init", "status": 500, "body": {"errorCode": 17}})",
         "init",
         {"Lmchz|lmchzInitError17"}},
        {"",
         "not_configured",
         R"({"method": "init", "status": 403, "body": {}})",
         "init",
         {"Lmchz|lmchzInitError"}},
        {"true", "ready", "[]", "greyList", {}},
        {"false", "ready", "[]", "greyList", {}},
        {"true",
         "ready",
         R"({"method": "greyList", "status": 400, "body": {"errorCode": 5}})",
         "greyList",
         {"Lmchz|lmchzGreyListInvalidOperation"}},
        {"true",
         "ready",
         R"({"method": "greyList", "status": 500, "body": {"errorCode": 5}})",
         "greyList",
         {"Lmchz|lmchzGreyListError5"}},
        {"true",
         "ready",
         R"({"method": "greyList", "status": 500, "text": ""})",
         "greyList",
         {"Lmchz|lmchzGreyListError"}},
        {"", "ready", "[]", "", {}},
        {"", "sync_error", "[]", "", {}},
        {"true", "not_configured", "[]", "", {}, "false"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.state) + c.behaviour);
        const MarkSim stand;
        QStringList settings{QString("maintain=") + c.maintain};
        QJsonObject body{{"token", stand.module()["token"]}};
        if (*c.greyList != '\0') {
            settings << QString("enableGreyList=") + c.greyList;
            body.insert("enableGreyList", c.greyList == QLatin1String("true"));
        }
        Till till(stand, moduleSection("LMCHZ1", stand.module(), settings));
        stand.admin("PUT", "/modules/module-1", toJson(QJsonObject{{"state", c.state}}));
        stand.behave("module-1", c.behaviour);
        Till::sendEvent(EActivityListener::LocalModulesSetUp);

        const QList<QJsonObject> calls = callsBesideStatus(stand);
        ASSERT_EQ(calls.size(), *c.method == '\0' ? 0 : 1);
        if (!calls.isEmpty()) {
            EXPECT_EQ(calls[0]["api"].toString(), c.method);
            EXPECT_EQ(QJsonDocument::fromJson(calls[0]["body"].toString().toUtf8()).object(), body);
        }
        EXPECT_EQ(till.notices(), c.notices);
    }
}

}  // namespace
