#include <algorithm>

#include <QFile>

#include <gtest/gtest.h>

#include "tests/e2e/till.h"

using Result = CheckMarkingCodesResult;

namespace {

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
    QList<MarkingCode> codes{unlisted};
    const QJsonArray listed = stand.admin("GET", "/goods")["goods"].toArray();
    for (const QJsonValue good : listed) {
        codes.append(MarkingCode(good["code"].toString()));
    }
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
            EXPECT_EQ(till.verify({goods::Milk}).passedCodes, QList{goods::Milk});
            EXPECT_TRUE(isLoaded());
        }
        EXPECT_FALSE(isLoaded());
    }
}

TEST(OfflineSale, FollowsABlackoutOrAnEmergencyButNotARefusal)
{
    const MarkSim stand;
    Till till(stand, moduleSettings(stand));
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
        EXPECT_TRUE(till.takeLog().contains("info Проверка в режиме офлайн"));
    }
}

}  // namespace
