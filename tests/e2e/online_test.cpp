#include <algorithm>
#include <thread>

#include <QJsonDocument>

#include <gtest/gtest.h>

#include "tests/e2e/till.h"
#include <orvex/eactivitylistener.h>

using namespace std::chrono_literals;
using Result = CheckMarkingCodesResult;

namespace {

const QJsonArray Nothing;

/// site-1 is the fastest, then site-2, then site-3.
QJsonObject orderedSites()
{
    const auto slow = [](int ms) {
        return QJsonObject{{"behaviours", QJsonArray{QJsonObject{{"method", "health"}, {"latencyMs", ms}}}}};
    };
    return {{"servers", QJsonObject{{"site-2", slow(80)}, {"site-3", slow(160)}}}};
}

QJsonObject onCheck(QJsonObject behaviour)
{
    behaviour.insert("method", "check");
    return behaviour;
}

QJsonObject crossBorderDown()
{
    return onCheck({{"status", 503}, {"body", QJsonObject{{"code", 5000}}}});
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
    QList<MarkingCode> codes;
    const QJsonArray listed = stand.admin("GET", "/goods")["goods"].toArray();
    for (const QJsonValue& good : listed) {
        codes << MarkingCode(good["code"].toString());
    }
    const QString unlisted = "0104600000000001215zzzzz\u001d93zzzz";
    codes << MarkingCode(unlisted);
    const Result result = till.verify(codes);

    EXPECT_EQ(result.errorKind(), http::ErrorKind::None);
    EXPECT_EQ(result.passedCodes.size() + result.failedCodes.size(), codes.size());
    Result::Status seen;
    for (const auto& failed : result.failedCodes) {
        seen |= failed.status;
    }
    EXPECT_EQ(int(seen), 0x7FFC) << "every flag that a reply can carry";
    EXPECT_TRUE(result.hasError(Result::EStatus(0))) << "a code that fails by its message alone";
    EXPECT_TRUE(result.failedCodes[MarkingCode(unlisted)].status.testFlag(Result::NotFound));
    EXPECT_TRUE(result.passedCodes.contains(goods::Milk));
    EXPECT_EQ(result.failedCodes[goods::ExpiredKefir].status, Result::Status(Result::Expired));
    EXPECT_EQ(result.requestInfos.size(), codes.size());
    EXPECT_FALSE(result.expireDates.isEmpty());
    EXPECT_FALSE(result.productWeights.isEmpty());
    EXPECT_FALSE(result.mrps.isEmpty());
}

TEST_F(Sale, TheRequestIsWhatTheOperatorExpects)
{
    till.verify({goods::Milk});
    const QJsonObject request = stand.requests("site-1", "check").value(0);
    EXPECT_EQ(request["method"].toString(), "POST") << QJsonDocument(request).toJson().toStdString();
    EXPECT_EQ(request["path"].toString(), "/api/v4/true-api/codes/check");
    EXPECT_EQ(QJsonDocument::fromJson(request["body"].toString().toUtf8()).object(),
              (QJsonObject{{"codes", QJsonArray{goods::Milk.toString()}}}));
    EXPECT_TRUE(till.logged("info Проверка кодов маркировок: [0104607026010011215rhTuv<GS>93VBOs]"));
}

TEST_F(Sale, ChecksOfOneTillUseOneConnection)
{
    till.verify({goods::Milk});
    till.verify({goods::Water});
    const auto checks = stand.requests("site-1", "check");
    ASSERT_EQ(checks.size(), 2);
    EXPECT_EQ(checks[0]["connection"].toInt(), checks[1]["connection"].toInt());
}

struct Fault
{
    const char* name;
    QJsonObject behaviour;
    bool byNetwork;
};

std::ostream& operator<<(std::ostream& out, const Fault& fault)
{
    return out << fault.name;
}

class SaleWithABrokenSite : public Sale, public testing::WithParamInterface<Fault>
{
};

TEST_P(SaleWithABrokenSite, IsServedByTheNextOneAndTheBrokenOneRests)
{
    till.verify({goods::Milk});
    ASSERT_EQ(checksAt(stand, "site-1"), 1);
    stand.forgetRequests();

    stand.behave("site-1", GetParam().behaviour);
    expectAllPass(till.verify({goods::Milk, goods::Water}), {goods::Milk, goods::Water});
    EXPECT_EQ(checksAt(stand, "site-2"), 1);
    EXPECT_TRUE(
        till.logged("info Площадка " + stand.url("site-1") + " помечена как недоступная на 15 минут"));
    EXPECT_TRUE(till.logged("info Переключение на следующую CDN-площадку"));

    stand.behave("site-1", Nothing);
    stand.forgetRequests();
    expectAllPass(till.verify({goods::Milk}), {goods::Milk});
    EXPECT_EQ(checksAt(stand, "site-1"), 0) << "in quarantine";
    EXPECT_EQ(checksAt(stand, "site-2"), 1);
}

TEST_P(SaleWithABrokenSite, EndsWithAVerdictWhenAllSitesAreBroken)
{
    till.verify({goods::Milk});
    stand.behave("sites", GetParam().behaviour);
    stand.behave("operators", QJsonObject{{"status", 500}});
    const Result result = till.verify({goods::Milk}, 20s);
    if (GetParam().byNetwork) {
        EXPECT_EQ(result.errorKind(), http::ErrorKind::Unreachable);
        EXPECT_EQ(result.failedCodes[goods::Milk].status, Result::Status(Result::Unreachable));
    } else {
        // The operator's refusal to list sites is no network fault, so nothing forbids the sale.
        EXPECT_EQ(result.errorKind(), http::ErrorKind::Unreachable);
    }
    EXPECT_TRUE(till.logged("warn Нет доступных площадок, пытаемся обновить список площадок"));
    EXPECT_TRUE(till.logged("warn Не удалось обновить список площадок"));
    EXPECT_TRUE(till.logged("warn Нет доступных площадок после обновления списка"));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, SaleWithABrokenSite,
    testing::Values(Fault{"refused", {{"connect", "refuse"}}, true},
                    Fault{"reset", onCheck({{"cut", QJsonObject{{"after", 0}, {"by", "reset"}}}}), true},
                    Fault{"silent", onCheck({{"silent", true}}), false},
                    Fault{"cut", onCheck({{"cut", QJsonObject{{"after", 300}, {"by", "reset"}}}}), true},
                    Fault{"error500", onCheck({{"status", 500}}), false},
                    Fault{"busy429", onCheck({{"status", 429}}), false},
                    Fault{"forbidden403", onCheck({{"status", 403}}), true},
                    Fault{"missing404", onCheck({{"status", 404}}), true}),
    [](const auto& fault) { return fault.param.name; });

TEST_F(Sale, AllSitesOverloadedAndTheListFreshlyConfirmedPermitsTheSale)
{
    till.verify({goods::Milk});
    // The fresh list brings the sites back once; then they are overloaded again.
    stand.behave("sites", onCheck({{"status", 500}}));
    const Result result = till.verify({goods::Milk});
    EXPECT_EQ(result.errorKind(), http::ErrorKind::SalePermitted);
    expectAllPass(result, {goods::Milk});
    EXPECT_EQ(stand.requests({}, "check").size(), 1 + 3 + 3);
}

TEST_F(Sale, EmergencyPermitsTheSaleAndQuarantinesNobody)
{
    stand.behave("sites", onCheck({{"status", 203}}));
    const Result result = till.verify({goods::Milk, goods::ExpiredKefir});
    EXPECT_EQ(result.errorKind(), http::ErrorKind::SalePermitted);
    expectAllPass(result, {goods::Milk, goods::ExpiredKefir});
    EXPECT_TRUE(till.logged("warn В ГИС МТ введена аварийная ситуация, запрет на продажу отключен"));

    stand.behave("sites", Nothing);
    till.verify({goods::Milk});
    EXPECT_EQ(checksAt(stand, "site-1"), 2);
}

TEST_F(Sale, CrossBorderFaultIsRetriedOnceOnTheSameSite)
{
    QJsonObject once = crossBorderDown();
    once.insert("times", 1);
    stand.behave("site-1", once);
    expectAllPass(till.verify({goods::Milk}), {goods::Milk});
    EXPECT_EQ(checksAt(stand, "site-1"), 2);
    EXPECT_TRUE(till.logged("info Сервис трансграничной проверки кодов недоступен, повторный запрос"));
}

TEST_F(Sale, CrossBorderFaultThatStaysPermitsTheSale)
{
    stand.behave("sites", crossBorderDown());
    const Result result = till.verify({goods::Milk});
    EXPECT_EQ(result.errorKind(), http::ErrorKind::SalePermitted);
    expectAllPass(result, {goods::Milk});
    EXPECT_EQ(stand.requests({}, "check").size(), 2);
    EXPECT_TRUE(
        till.logged("warn Сервис трансграничной проверки кодов недоступен, добавление товара разрешено"));
}

TEST_F(Sale, RefusedTokenIsShownToTheCashierUntilTheNextListUpdate)
{
    till.verify({goods::Milk});
    stand.behave("site-1", onCheck({{"status", 401}}));
    const Result result = till.verify({goods::Milk});
    EXPECT_EQ(result.status(), 401);
    EXPECT_EQ(result.failedCodes[goods::Milk].status, Result::Status(Result::NotInReply));
    EXPECT_EQ(result.failedCodes[goods::Milk].errorCode, 401);
    EXPECT_TRUE(till.logged("error Ошибка авторизации"));
    const Till::Notice notice{"Crpt", "crptIncorrectTokenErrorNotification"};
    const Till::Notice withdrawal{"Crpt", {}};
    EXPECT_EQ(till.notices(), (QList<Till::Notice>{withdrawal, notice}));

    Till::sendEvent(EActivityListener::OnlineServicesRefresh);
    for (int i = 0; till.notices().size() < 3 && i < 1000; ++i) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(till.notices(), (QList<Till::Notice>{withdrawal, notice, withdrawal}));
}

TEST_F(Sale, BudgetSpentOnASilentSitePermitsTheSale)
{
    till.verify({goods::Milk});
    stand.behave("sites", onCheck({{"silent", true}}));
    const auto begin = std::chrono::steady_clock::now();
    const Result result = till.verify({goods::Milk}, 3s, 2s);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 3s);
    EXPECT_EQ(result.errorKind(), http::ErrorKind::SalePermitted);
    EXPECT_TRUE(result.isTimeout());
    expectAllPass(result, {goods::Milk});
    EXPECT_TRUE(till.logged("warn Суммарное время ожидания ответа от сервера превысило 3000 мсек."));
    EXPECT_EQ(stand.requests({}, "check").size(), 1 + 2)
        << "the second attempt gets what is left of the budget";
}

TEST_F(Sale, ASiteInDeepSleepStillLeavesTimeForTheNext)
{
    till.verify({goods::Milk});
    stand.behave("site-1", onCheck({{"drip", QJsonObject{{"bytes", 1}, {"everyMs", 500}}}}));
    expectAllPass(till.verify({goods::Milk}, 10s, 2s), {goods::Milk});
    EXPECT_EQ(checksAt(stand, "site-2"), 1);
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
    till.connectOperator(stand.operatorUrls(), {"good-key-0001", "bad-key-00001"});
    expectAllPass(till.verify({goods::Milk}), {goods::Milk});

    // The newest key is tried first, refused, and the older one brings the sites.
    EXPECT_EQ(stand.requests("operator-1", "info").size(), 2);
    EXPECT_EQ(stand.requests("operator-2", "info").size(), 2);
    EXPECT_EQ(stand.requests({}, "health").size(), 3);
}

TEST(SaleWithAHeldBackSearch, DoesNotAskTheOperatorAgainWithinTheInterval)
{
    const MarkSim stand;
    Till till(stand, {"CRPT:updateInfoInterval=2"});
    till.connectOperator();
    stand.behave("operators", QJsonObject{{"connect", "refuse"}});
    EXPECT_EQ(till.verify({goods::Milk}).errorKind(), http::ErrorKind::Unreachable);
    const auto searched = till.log().count("info Получение списка CDN-площадок");
    EXPECT_EQ(till.verify({goods::Milk}).errorKind(), http::ErrorKind::Unreachable);
    EXPECT_EQ(till.log().count("info Получение списка CDN-площадок"), searched);

    std::this_thread::sleep_for(2s);  // the plug-in's own interval, on the real clock
    stand.behave("operators", Nothing);
    expectAllPass(till.verify({goods::Milk}), {goods::Milk});
}

TEST(SaleWithoutKeys, IsPermittedWithoutAskingAnybody)
{
    const MarkSim stand;
    Till till(stand);
    till.connectOperator(stand.operatorUrls(), {});
    const Result result = till.verify({goods::Milk});
    EXPECT_EQ(result.errorKind(), http::ErrorKind::SalePermitted);
    EXPECT_TRUE(till.logged("warn Нет ключей для работы с CDN-площадками"));
    EXPECT_TRUE(stand.requests().isEmpty());
}

TEST(PlugIn, StaysIdleWhenNoSectionUsesIt)
{
    const MarkSim stand;
    const Till till(stand, {"MarkedGoods:markverifycrptservice=turon"});
    EXPECT_FALSE(till.isWorking());
    EXPECT_TRUE(
        till.logged("warn В настоящий момент сервис верификации 'crpt' не используется ни одним плагином "
                    "для проверок маркировок"));
}

TEST(PlugIn, WorksAgainAfterItWasUnloadedAndLoadedAgain)
{
    const MarkSim stand;
    for (int load = 0; load < 3; ++load) {
        Till till(stand);
        till.connectOperator();
        expectAllPass(till.verify({goods::Milk}), {goods::Milk});
    }
}

TEST(SaleOverTls, IsServedWithTheTrustedCertificateAndRefusesOthers)
{
    const MarkSim stand({"--tls"}, orderedSites());
    Till till(stand);
    till.connectOperator();
    expectAllPass(till.verify({goods::Milk}), {goods::Milk});

    stand.behave("site-1", QJsonObject{{"certificate", "self-signed"}});
    Till::sendEvent(EActivityListener::NetworkUp);  // a new HTTP client, so a new handshake
    expectAllPass(till.verify({goods::Milk}), {goods::Milk});
    EXPECT_EQ(checksAt(stand, "site-2"), 1);
}

}  // namespace
