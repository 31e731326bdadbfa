#include <QJsonDocument>

#include <gtest/gtest.h>

#include "tests/e2e/till.h"
#include <orvex/eactivitylistener.h>

using Result = CheckMarkingCodesResult;

namespace {

/// site-1 is the fastest, then site-2, then site-3.
QJsonObject orderedSites()
{
    const auto slow = [](int ms) {
        return QJsonObject{{"behaviours", QJsonObject{{"method", "health"}, {"latencyMs", ms}}}};
    };
    return {{"servers", QJsonObject{{"site-2", slow(80)}, {"site-3", slow(160)}}}};
}

qsizetype checksAt(const MarkSim& stand, const QString& site)
{
    return stand.requests(site, "check").size();
}

void expectAllPass(const Result& result, const QList<MarkingCode>& codes)
{
    EXPECT_EQ(texts(result.passedCodes), texts(codes));
    EXPECT_TRUE(result.failedCodes.isEmpty());
}

class Sale : public testing::Test
{
protected:
    MarkSim stand{{}, orderedSites()};
    Till till{stand};

    void SetUp() override { till.connectOperator(); }
};

TEST_F(Sale, EveryGoodOfTheStandGetsItsVerdictAndAllFlagsAppear)
{
    const MarkingCode unlisted(QStringLiteral("0104600000000001215zzzzz\u001d93zzzz"));
    const QList<MarkingCode> codes = listedGoods(stand) + QList{unlisted};
    const Result result = till.verify(codes);

    EXPECT_EQ(result.errorKind(), http::ErrorKind::None);
    EXPECT_EQ(result.passedCodes.size() + result.failedCodes.size(), codes.size());
    Result::Status seen;
    for (const auto& failed : result.failedCodes) {
        seen |= failed.status;
    }
    EXPECT_EQ(int(seen), 0x7FFC) << "every flag that a reply can carry";
    EXPECT_TRUE(result.hasError(Result::EStatus(0))) << "a code that fails by its message alone";
    EXPECT_TRUE(result.failedCodes[unlisted].status.testFlag(Result::NotFound));
    EXPECT_TRUE(result.passedCodes.contains(goods::Milk));
    EXPECT_EQ(result.failedCodes[goods::ExpiredKefir].status, Result::Status(Result::Expired));
    EXPECT_EQ(result.requestInfos.size(), codes.size());
    EXPECT_FALSE(result.expireDates.isEmpty());
    EXPECT_FALSE(result.productWeights.isEmpty());
    EXPECT_FALSE(result.mrps.isEmpty());
}

TEST_F(Sale, ChecksAreWhatTheOperatorExpectsAndUseOneConnection)
{
    till.verify({goods::Milk});
    till.verify({goods::Water});
    const auto checks = stand.requests("site-1", "check");
    ASSERT_EQ(checks.size(), 2);
    EXPECT_EQ(checks[0]["method"].toString(), "POST");
    EXPECT_EQ(checks[0]["path"].toString(), "/api/v4/true-api/codes/check");
    EXPECT_EQ(QJsonDocument::fromJson(checks[0]["body"].toString().toUtf8()).object(),
              (QJsonObject{{"codes", QJsonArray{goods::Milk.toString()}}}));
    EXPECT_EQ(checks[0]["connection"], checks[1]["connection"]);
    EXPECT_TRUE(till.logged("info Проверка кодов маркировок: [0104607026010011215rhTuv<GS>93VBOs]"));
}

TEST_F(Sale, WithABrokenSiteIsServedByTheNextOneAndTheBrokenOneRests)
{
    till.verify({goods::Milk});
    ASSERT_EQ(checksAt(stand, "site-1"), 1);
    stand.forgetRequests();

    stand.behave("site-1", R"({"connect": "refuse"})");
    expectAllPass(till.verify({goods::Milk, goods::Water}), {goods::Milk, goods::Water});
    EXPECT_EQ(checksAt(stand, "site-2"), 1);
    EXPECT_TRUE(
        till.logged("info Площадка " + stand.url("site-1") + " помечена как недоступная на 15 минут"));

    stand.behave("site-1", "[]");
    stand.forgetRequests();
    expectAllPass(till.verify({goods::Milk}), {goods::Milk});
    EXPECT_EQ(checksAt(stand, "site-1"), 0) << "in quarantine";
    EXPECT_EQ(checksAt(stand, "site-2"), 1);
}

TEST_F(Sale, RefusedTokenIsShownToTheCashierUntilTheNextListUpdate)
{
    till.verify({goods::Milk});
    stand.behave("site-1", R"({"method": "check", "status": 401})");
    const Result result = till.verify({goods::Milk});
    EXPECT_EQ(result.status(), 401);
    EXPECT_EQ(result.failedCodes[goods::Milk].status, Result::Status(Result::NotInReply));
    EXPECT_EQ(result.failedCodes[goods::Milk].errorCode, 401);
    EXPECT_TRUE(till.logged("error Ошибка авторизации"));
    const QString withdrawal = "Crpt|";
    const QString notice = "Crpt|crptIncorrectTokenErrorNotification";
    EXPECT_EQ(till.notices(), (QStringList{withdrawal, notice}));

    Till::sendEvent(EActivityListener::OnlineServicesRefresh);
    EXPECT_TRUE(eventually([&] { return till.notices().size() > 2; }));
    EXPECT_EQ(till.notices(), (QStringList{withdrawal, notice, withdrawal}));
}

TEST(SaleInTrouble, EndsAsTheTroubleDemands)
{
    struct Trouble
    {
        const char* servers;
        const char* behaviour;
        http::ErrorKind kind;
        bool passes;
        const char* line;  // logged by the way
    };
    using enum http::ErrorKind;
    const char* const away = "info Переключение на следующую CDN-площадку";
    const Trouble troubles[] = {
        {"site-1", R"({"method": "check", "cut": {"after": 9, "by": "reset"}})", None, true, away},
        {"site-1", R"({"method": "check", "silent": true})", None, true, away},
        {"site-1", R"({"method": "check", "status": 503})", None, true, away},
        {"site-1", R"({"method": "check", "status": 429})", None, true, away},
        {"sites", R"({"method": "check", "status": 500, "body": {"code": 5000}, "times": 1})", None, true,
         "info Сервис трансграничной проверки кодов недоступен, повторный запрос"},
        {"sites", R"({"method": "check", "status": 500, "body": {"code": 5000}})", SalePermitted, true,
         "warn Сервис трансграничной проверки кодов недоступен, добавление товара разрешено"},
        {"sites", R"({"method": "check", "status": 203})", SalePermitted, true,
         "warn В ГИС МТ введена аварийная ситуация, запрет на продажу отключен"},
        {"sites", R"({"method": "check", "status": 500})", SalePermitted, true,
         "warn Нет доступных площадок после обновления списка"},
        {"sites", R"({"method": "check", "status": 404})", Unreachable, false,
         "warn Нет доступных площадок после обновления списка"},
        {"all", R"({"connect": "refuse"})", Unreachable, false, "warn Не удалось обновить список площадок"},
        {"sites", R"({"method": "check", "silent": true})", SalePermitted, true,
         "warn Суммарное время ожидания ответа от сервера превысило 3000 мсек."}};
    for (const Trouble& trouble : troubles) {
        SCOPED_TRACE(trouble.behaviour);
        const MarkSim stand({}, orderedSites());
        Till till(stand);
        till.connectOperator();
        till.verify({goods::Milk});
        stand.behave(trouble.servers, trouble.behaviour);
        const auto result = till.tryVerify({goods::Milk}, std::chrono::seconds(3), std::chrono::seconds(2));
        ASSERT_TRUE(result);
        EXPECT_EQ(result->errorKind(), trouble.kind);
        EXPECT_EQ(result->passedCodes.size(), trouble.passes ? 1 : 0);
        EXPECT_EQ(result->hasError(Result::Unreachable), !trouble.passes);
        EXPECT_TRUE(till.logged(trouble.line));
    }
}

TEST(SaleInTrouble, DoesNotSearchForSitesAgainBeforeItsTime)
{
    const MarkSim stand;
    Till till(stand, {"CRPT:updateInfoInterval=60"});
    stand.behave("operators", R"({"method": "info", "status": 503})");
    till.connectOperator();
    EXPECT_EQ(till.verify({goods::Milk}).errorKind(), http::ErrorKind::Unreachable);
    stand.forgetRequests();
    EXPECT_EQ(till.verify({goods::Milk}).errorKind(), http::ErrorKind::Unreachable);
    EXPECT_TRUE(stand.requests().isEmpty());
}

TEST(SaleWithSeveralOperators, KnowsTheSitesOfAllAndUsesTheKeyThatWorks)
{
    const QJsonObject scenario = {
        {"operators", 2},
        {"keys", QJsonArray{"good-key-0001"}},
        {"servers", QJsonObject{{"operator-1", QJsonObject{{"lists", QJsonArray{"site-1"}}}},
                                {"operator-2", QJsonObject{{"lists", QJsonArray{"site-2", "site-3"}}}}}}};
    const MarkSim stand({}, scenario);
    Till till(stand);
    till.connectOperator({"good-key-0001", "bad-key-00001"});
    expectAllPass(till.verify({goods::Milk}), {goods::Milk});

    // The newest key is tried first, refused, and the older one brings the sites.
    EXPECT_EQ(stand.requests("operator-1", "info").size(), 2);
    EXPECT_EQ(stand.requests("operator-2", "info").size(), 2);
    EXPECT_EQ(stand.requests({}, "health").size(), 3);
}

}  // namespace
