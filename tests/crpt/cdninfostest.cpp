#include "crpt/cdninfos.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/simulatedclock.h"
#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

QSharedPointer<CdnInfo> site(qint32 responseTime, const QString& host = "s")
{
    auto info = QSharedPointer<CdnInfo>::create();
    info->responseTime = responseTime;
    info->host = host;
    return info;
}

QList<qint32> timesOf(const CDNInfos& sites)
{
    QList<qint32> times;
    for (const auto& info : sites) {
        times.append(info->responseTime);
    }
    return times;
}

TEST(Site, IsAvailableAgainAfterItsQuarantineButNotAtItsEnd)
{
    const SimulatedClock clock;
    CdnInfo info;
    EXPECT_TRUE(info.isAvailable());
    info.markAsUnavailable(clock.currentDateTime().addMSecs(2), true);
    for (const bool available : {false, false, false, true, true}) {
        EXPECT_EQ(info.isAvailable(), available) << clock.currentDateTime().time().msec();
        clock.advance(std::chrono::milliseconds(1));
    }
    EXPECT_FALSE(info.available) << "a look changes nothing";
    EXPECT_TRUE(info.networkError);
    info.markAsUnavailable(clock.currentDateTime(), false);
    EXPECT_FALSE(info.isAvailable());
    EXPECT_FALSE(info.networkError);
}

TEST(Site, ComparesByTimeAndHostAlone)
{
    CdnInfo quarantined = *site(5);
    quarantined.markAsUnavailable({}, true);
    EXPECT_EQ(quarantined, *site(5));
    EXPECT_FALSE(*site(5) == *site(6));
    EXPECT_FALSE(*site(5) == *site(5, "S"));
    EXPECT_TRUE(*site(-1) < *site(0));
    EXPECT_FALSE(*site(5, "a") < *site(5, "b"));
    EXPECT_FALSE(*site(5, "b") < *site(5, "a"));
}

TEST(SiteList, IsSortedByTimeWithoutReorderingItsCopies)
{
    CDNInfos sites;
    sites << site(120) << site(-1) << site(45) << site(45);
    const CDNInfos copy = sites;
    sites.sort();
    EXPECT_THAT(timesOf(sites), ElementsAre(-1, 45, 45, 120));
    EXPECT_THAT(timesOf(copy), ElementsAre(120, -1, 45, 45));
    EXPECT_EQ(sites.last(), copy.first()) << "copies share the records";
}

TEST(SiteList, KnowsWhetherASiteMayBeAskedAndWhetherTheNetworkFailed)
{
    const SimulatedClock clock;
    CDNInfos sites;
    EXPECT_FALSE(sites.hasAvailable());
    EXPECT_FALSE(sites.hasNetworkError());
    sites << site(1) << site(2);
    EXPECT_TRUE(sites.hasAvailable());
    sites[0]->markAsUnavailable(clock.currentDateTime(), false);
    EXPECT_TRUE(sites.hasAvailable());
    EXPECT_FALSE(sites.hasNetworkError());
    sites[1]->markAsUnavailable(clock.currentDateTime(), true);
    EXPECT_FALSE(sites.hasAvailable());
    EXPECT_TRUE(sites.hasNetworkError());
    clock.advance(std::chrono::hours(1));
    EXPECT_TRUE(sites.hasNetworkError()) << "also when the quarantine is over";
    sites.clear();
    sites.updateSucceeded = false;
    EXPECT_TRUE(sites.hasNetworkError());
}

}  // namespace
