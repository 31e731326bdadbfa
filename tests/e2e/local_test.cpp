#include <QJsonDocument>

#include <gtest/gtest.h>

#include "tests/e2e/till.h"
#include <orvex/actiondispatcher.h>
#include <orvex/args.h>
#include <orvex/eactivitylistener.h>
#include <orvex/task.h>

using namespace std::chrono_literals;
using Result = CheckMarkingCodesResult;

namespace {

const QJsonArray Nothing;

/// One [LMCHZ*] section as settings of a till.
QStringList moduleSection(const QString& section, const QJsonObject& module, const QStringList& more = {})
{
    QStringList lines = {"enable=true", "url=" + module["url"].toString(),
                         "user=" + module["user"].toString(), "password=" + module["password"].toString(),
                         "token=" + module["token"].toString()};
    lines += more;
    for (QString& line : lines) {
        line.prepend(section + ':');
    }
    return lines;
}

QJsonObject onlineFor(const char* what)
{
    if (what == QLatin1String("down")) {
        return {{"connect", "refuse"}};
    }
    return {{"method", "check"}, {"status", QString::fromLatin1(what).toInt()}};
}

void breakOnline(const MarkSim& stand)
{
    stand.behave("sites", onlineFor("down"));
    stand.behave("operators", onlineFor("down"));
}

void setModule(const MarkSim& stand, const QString& name, const QJsonObject& change)
{
    stand.admin("PUT", "/modules/" + name, toJson(change));
}

class OfflineSale : public testing::Test
{
protected:
    MarkSim stand;
    Till till{stand, moduleSection("LMCHZ1", stand.module(), {"timeout=2", "maintain=true"})};

    void SetUp() override
    {
        till.connectOperator();
        setModule(stand, "module-1", {{"state", "ready"}});
    }

    void expectOnlineResultUnchanged()
    {
        const Result result = till.verify({goods::Milk});
        EXPECT_EQ(result.errorKind(), http::ErrorKind::Unreachable);
        EXPECT_EQ(result.failedCodes[goods::Milk].status, Result::Status(Result::Unreachable));
    }
};

TEST_F(OfflineSale, VerdictsComeFromTheModule)
{
    breakOnline(stand);
    const QJsonArray listed = stand.admin("GET", "/goods")["goods"].toArray();
    QList<MarkingCode> codes;
    for (const QJsonValue& good : listed) {
        codes << MarkingCode(good["code"].toString());
    }
    const Result result = till.verify(codes);
    EXPECT_EQ(result.errorKind(), http::ErrorKind::None);
    EXPECT_EQ(result.status(), 0) << "the reply part of an offline result is empty";
    EXPECT_TRUE(result.passedCodes.contains(goods::Milk));
    EXPECT_EQ(result.passedCodes.size() + result.failedCodes.size(), codes.size());
    for (const auto& failed : result.failedCodes) {
        EXPECT_TRUE(!failed.status || failed.status == Result::Status(Result::Blocked)) << int(failed.status);
    }
    EXPECT_EQ(result.requestInfos.size(), codes.size());
    EXPECT_TRUE(result.expireDates.isEmpty());
    EXPECT_TRUE(result.productWeights.isEmpty());
    EXPECT_TRUE(till.logged("info Проверка в режиме офлайн"));
    EXPECT_TRUE(till.logged("debug  статус: ready"));

    const QJsonObject request = stand.requests("module-1", "outCheck").value(0);
    const QJsonArray asked =
        QJsonDocument::fromJson(request["body"].toString().toUtf8())["cis_list"].toArray();
    EXPECT_EQ(asked.size(), codes.size());
    EXPECT_EQ(asked.at(0), (QJsonObject{{"cis", codes.first().cis()}}));
}

TEST_F(OfflineSale, AlsoFollowsAnEmergencyButNotARefusalOrAMissingToken)
{
    stand.behave("sites", onlineFor("203"));
    EXPECT_EQ(till.verify({goods::Milk}).errorKind(), http::ErrorKind::None);
    EXPECT_EQ(stand.requests("module-1", "outCheck").size(), 1);

    stand.forgetRequests();
    stand.behave("sites", Nothing);
    EXPECT_TRUE(till.verify({goods::ExpiredKefir}).hasError(Result::Expired));
    stand.behave("sites", onlineFor("401"));
    EXPECT_EQ(till.verify({goods::Milk}).status(), 401);
    EXPECT_TRUE(stand.requests("module-1").isEmpty());
}

TEST_F(OfflineSale, AModuleThatIsNotReadyLeavesTheOnlineResult)
{
    breakOnline(stand);
    for (const char* state : {"not_configured", "initialization", "sync_error"}) {
        SCOPED_TRACE(state);
        setModule(stand, "module-1", {{"state", state}, {"readyAfterMs", 3600000}});
        expectOnlineResultUnchanged();
        EXPECT_TRUE(till.logged(QString("debug  статус: ") + state));
    }
    EXPECT_TRUE(stand.requests("module-1", "outCheck").isEmpty());
    EXPECT_EQ(till.log().count("warn ЛМЧЗ не готов к работе"), 3);
}

TEST_F(OfflineSale, AModuleThatFailsLeavesTheOnlineResult)
{
    breakOnline(stand);
    const auto on = [](const char* method, QJsonObject behaviour) {
        behaviour.insert("method", method);
        return behaviour;
    };
    const QList<QJsonObject> faults = {
        {{"connect", "refuse"}},
        on("status", {{"status", 200}, {"body", QJsonObject{{"status", "Ready"}}}}),
        on("status", {{"payload", "malformed"}}),
        on("status", {{"silent", true}}),
        on("outCheck", {{"status", 500}}),
        on("outCheck", {{"silent", true}}),
        on("outCheck", {{"cut", QJsonObject{{"after", 250}}}}),
    };
    for (const QJsonObject& fault : faults) {
        SCOPED_TRACE(QJsonDocument(fault).toJson(QJsonDocument::Compact).toStdString());
        stand.behave("module-1", fault);
        expectOnlineResultUnchanged();
    }
}

TEST_F(OfflineSale, OnlyTheRequestedCodesComeBackAsTheModuleLastSaidOfThem)
{
    breakOnline(stand);
    const auto answers = [&](const QJsonObject& twist) {
        stand.behave("module-1", QJsonObject{{"method", "outCheck"}, {"answers", twist}});
        return till.verify({goods::Milk, goods::Water, goods::Milk});
    };
    const QStringList milkWaterMilk = texts({goods::Milk, goods::Water, goods::Milk});

    const Result leftOut = answers({{"omit", QJsonArray{goods::Milk.cis()}}});
    EXPECT_EQ(texts(leftOut.passedCodes), texts({goods::Water}));
    EXPECT_TRUE(leftOut.failedCodes.isEmpty());

    EXPECT_EQ(texts(answers({{"repeat", QJsonArray{"*"}}, {"groups", 3}}).passedCodes), milkWaterMilk);

    const Result contradicted = answers({{"contradict", QJsonArray{goods::Milk.cis()}}});
    EXPECT_EQ(texts(contradicted.passedCodes), milkWaterMilk);
    EXPECT_EQ(texts(contradicted.failedCodes.keys()), texts({goods::Milk}));
    EXPECT_TRUE(contradicted.hasError(Result::Blocked));

    EXPECT_EQ(texts(answers({{"add", QJsonArray{goods::ExpiredKefir.cis()}}}).passedCodes),
              milkWaterMilk);

    const Result silent = answers({{"groups", 0}});
    EXPECT_TRUE(silent.passedCodes.isEmpty());
    EXPECT_TRUE(silent.isSuccess());
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

TEST(OfflineSaleWithAnUnknownToken, LeavesTheOnlineResult)
{
    const MarkSim stand;
    QJsonObject module = stand.module();
    module["token"] = "another-token";
    Till till(stand, moduleSection("LMCHZ1", module));
    till.connectOperator();
    breakOnline(stand);
    EXPECT_EQ(till.verify({goods::Milk}).errorKind(), http::ErrorKind::Unreachable);
    EXPECT_TRUE(till.logged("error Токен для проверки товара в ЛМЧЗ не найден"));
    EXPECT_TRUE(stand.requests("module-1").isEmpty());
}

TEST(OfflineSaleWithWrongCredentials, LeavesTheOnlineResultAndKeepsThePasswordOutOfTheLog)
{
    const MarkSim stand;
    QJsonObject module = stand.module();
    module["password"] = "not-the-password";
    Till till(stand, moduleSection("LMCHZ1", module));
    till.connectOperator();
    breakOnline(stand);
    EXPECT_EQ(till.verify({goods::Milk}).errorKind(), http::ErrorKind::Unreachable);
    EXPECT_EQ(stand.requests("module-1", "status").value(0)["status"].toInt(), 401);
    EXPECT_FALSE(till.log().join('\n').contains("not-the-password"));
}

struct MaintenanceCase
{
    const char* name;
    QStringList settings;   // of the module's section
    QString state;          // of the module before the event
    QJsonObject behaviour;  // of the module
    QString method;         // that is called, empty for none
    QJsonObject body;       // that is sent, without the token
    QString notice;         // text id
};

class Maintenance : public testing::TestWithParam<MaintenanceCase>
{
};

TEST_P(Maintenance, FollowsTheConfigurationOnEvent96)
{
    const auto& given = GetParam();
    const MarkSim stand;
    Till till(stand, moduleSection("LMCHZ1", stand.module(), given.settings));
    setModule(stand, "module-1", {{"state", given.state}});
    if (!given.behaviour.isEmpty()) {
        stand.behave("module-1", given.behaviour);
    }
    Till::sendEvent(EActivityListener::LocalModulesSetUp);

    QList<QJsonObject> calls = stand.requests("module-1");
    calls.removeIf([](const QJsonObject& request) { return request["api"] == "status"; });
    ASSERT_EQ(calls.size(), given.method.isEmpty() ? 0 : 1);
    if (!given.method.isEmpty()) {
        QJsonObject body = given.body;
        body.insert("token", stand.module()["token"]);
        EXPECT_EQ(calls[0]["api"].toString(), given.method);
        EXPECT_EQ(QJsonDocument::fromJson(calls[0]["body"].toString().toUtf8()).object(), body);
    }
    const QList<Till::Notice> expected =
        given.notice.isEmpty() ? QList<Till::Notice>() : QList<Till::Notice>{{"Lmchz", given.notice}};
    EXPECT_EQ(till.notices(), expected);
}

QJsonObject refusing(const char* method, int status, const QJsonObject& body)
{
    return {{"method", method}, {"status", status}, {"body", body}};
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Maintenance,
    testing::Values(
        MaintenanceCase{"initialises", {"maintain=true"}, "not_configured", {}, "init", {}, {}},
        MaintenanceCase{"initialisesWithGreyList",
                        {"maintain=true", "enableGreyList=false"},
                        "not_configured",
                        {},
                        "init",
                        {{"enableGreyList", false}},
                        {}},
        MaintenanceCase{"initRefused",
                        {"maintain=true"},
                        "not_configured",
                        refusing("init", 500, {{"errorCode", 17}}),
                        "init",
                        {},
                        "lmchzInitError17"},
        MaintenanceCase{"initRefusedWithoutCode",
                        {"maintain=true"},
                        "not_configured",
                        refusing("init", 403, {}),
                        "init",
                        {},
                        "lmchzInitError"},
        MaintenanceCase{"greyListOn",
                        {"maintain=true", "enableGreyList=true"},
                        "ready",
                        {},
                        "greyList",
                        {{"enableGreyList", true}},
                        {}},
        MaintenanceCase{"greyListOff",
                        {"maintain=true", "enableGreyList=false"},
                        "ready",
                        {},
                        "greyList",
                        {{"enableGreyList", false}},
                        {}},
        MaintenanceCase{"greyListUnsupported",
                        {"maintain=true", "enableGreyList=true"},
                        "ready",
                        refusing("greyList", 400, {{"errorCode", 5}}),
                        "greyList",
                        {{"enableGreyList", true}},
                        "lmchzGreyListInvalidOperation"},
        MaintenanceCase{"greyListRefused",
                        {"maintain=true", "enableGreyList=true"},
                        "ready",
                        refusing("greyList", 500, {{"errorCode", 5}}),
                        "greyList",
                        {{"enableGreyList", true}},
                        "lmchzGreyListError5"},
        MaintenanceCase{"greyListRefusedWithEmptyBody",
                        {"maintain=true", "enableGreyList=true"},
                        "ready",
                        {{"method", "greyList"}, {"status", 500}, {"text", ""}},
                        "greyList",
                        {{"enableGreyList", true}},
                        "lmchzGreyListError"},
        MaintenanceCase{"readyWithoutGreyListSetting", {"maintain=true"}, "ready", {}, {}, {}, {}},
        MaintenanceCase{
            "notMaintained", {"maintain=false", "enableGreyList=true"}, "not_configured", {}, {}, {}, {}},
        MaintenanceCase{"syncError", {"maintain=true"}, "sync_error", {}, {}, {}, {}}),
    [](const auto& maintenance) { return maintenance.param.name; });

/// The text of the connection check's task; empty when the plug-in did not take the action.
QString ping(const QString& plugin)
{
    const control::Action action(control::EActionType::CheckConnection);
    control::args::Plugin(action).setPluginName(plugin);
    const auto results = Singleton<ActionDispatcher>::instance()->perform(action);
    const auto task = action.value("pingTask").value<QSharedPointer<BasicTask>>();
    EXPECT_EQ(results, QList{task ? EContext::Extended : EContext::Done});
    return task ? Singleton<TaskManager>::instance()->start(task).get()->toString() : QString();
}

TEST(Ping, StopsAtTheFirstOperatorThatAnswers)
{
    const MarkSim stand({"--operators", "3"});
    Till till(stand);
    EXPECT_EQ(ping("CRPT"), "сервер доступен - false") << "no hosts";
    till.connectOperator();
    EXPECT_EQ(ping("lmchz"), QString());

    EXPECT_EQ(ping("CrptService"), "сервер доступен - true");
    EXPECT_EQ(stand.requests({}, "health").size(), 1);
    const QString first = stand.requests({}, "health")[0]["server"].toString();
    stand.behave(first, onlineFor("down"));
    stand.forgetRequests();
    EXPECT_EQ(ping("crpt"), "сервер доступен - true");
    EXPECT_EQ(stand.requests({}, "health").size(), 1);

    stand.behave("operators", QJsonObject{{"status", 500}});
    stand.forgetRequests();
    EXPECT_EQ(ping("crpt"), "сервер доступен - false");
    EXPECT_EQ(stand.requests({}, "health").size(), 3);
}

}  // namespace
