#include <algorithm>

#include <QFile>

#include <gtest/gtest.h>

#include "tests/e2e/till.h"

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

/// Whether the library's code is in the process. A sanitizer that names a place in it maps the file, too, to
/// read it, and keeps that.
bool isLoaded()
{
    QFile maps("/proc/self/maps");
    EXPECT_TRUE(maps.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = maps.readAll().split('\n');
    return std::any_of(lines.begin(), lines.end(), [](const QByteArray& line) {
        return line.contains(" r-x") && line.contains("libcrptservice");
    });
}

TEST(Sale, OfEveryGoodOfTheStandGivesItsVerdictAndAllFlagsAppear)
{
    const MarkSim stand;
    Till till(stand);
    till.connectOperator();
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
    EXPECT_EQ(result.requestInfos.size(), codes.size());
    EXPECT_FALSE(result.expireDates.isEmpty() || result.productWeights.isEmpty() || result.mrps.isEmpty());
}

TEST(Sale, LeavesNoCodeOfThePluginBehind)
{
    const MarkSim stand;
    for (int round = 0; round < 3; ++round) {
        {
            Till till(stand);
            till.connectOperator();
            EXPECT_EQ(texts(till.verify({goods::Milk}).passedCodes), texts({goods::Milk}));
            EXPECT_TRUE(isLoaded());
        }
        EXPECT_FALSE(isLoaded());
    }
}

TEST(OfflineSale, FollowsABlackoutOrAnEmergencyButNotARefusal)
{
    const MarkSim stand;
    const QJsonObject module = stand.module();
    QStringList settings{"LMCHZ:enable=true"};
    for (const char* key : {"url", "user", "password", "token"}) {
        settings << QString("LMCHZ:") + key + '=' + module[key].toString();
    }
    Till till(stand, settings);
    till.connectOperator();
    EXPECT_TRUE(till.verify({goods::ExpiredKefir}).hasError(Result::Expired));
    stand.behave("sites", R"({"method": "check", "status": 401})");
    EXPECT_EQ(till.verify({goods::Milk}).status(), 401);
    EXPECT_TRUE(stand.requests("module-1").isEmpty());

    for (const char* trouble : {R"({"method": "check", "status": 203})", R"({"connect": "refuse"})"}) {
        stand.forgetRequests();
        stand.behave("sites", trouble);
        const Result result = till.verify({goods::Milk, goods::Water});
        EXPECT_EQ(result.errorKind(), http::ErrorKind::None);
        EXPECT_EQ(result.status(), 0) << "the reply part of an offline result is empty";
        EXPECT_EQ(result.passedCodes.size(), 2);
        EXPECT_EQ(result.requestInfos.size(), 2);
        EXPECT_EQ(stand.requests("module-1", "outCheck").size(), 1);
        EXPECT_TRUE(till.logged("info Проверка в режиме офлайн"));
    }
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

}  // namespace
