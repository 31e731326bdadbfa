#include <QNetworkInterface>
#include <QUrl>
#include <algorithm>

#include "tests/stand/standtest.h"

namespace {

QString hostOf(const MarkSim& stand, const char* key)
{
    return QUrl(stand.ready()[QLatin1String(key)].toString()).host();
}

}  // namespace

TEST(PublicAddress, IsHandedOutEverywhere)
{
    const MarkSim stand(
        {"--bind", "0.0.0.0", "--admin-bind", "0.0.0.0", "--public-address", "localhost", "--page", "--tls"});
    for (const char* server : {"operator-1", "site-3", "module-1"}) {
        EXPECT_EQ(QUrl(stand.url(server)).host(), "localhost") << server;
    }
    EXPECT_EQ(hostOf(stand, "admin"), "localhost");
    EXPECT_EQ(hostOf(stand, "page"), "localhost");
    EXPECT_EQ(stand.admin("GET", "/state")["servers"][1]["url"], stand.url("site-1"));
    StandClient client(stand);
    client.caFile = stand.ready()["caFile"].toString().toUtf8();
    const QString list = stand.url("operator-1") + "/api/v4/true-api/cdn/info";
    EXPECT_EQ(client.send("GET", list, {}, {client.keyHeader()}).json()["hosts"][0]["host"],
              stand.url("site-1"));
}

TEST(PublicAddress, IsTakenByThePage)
{
    const MarkSim stand({"--bind", "0.0.0.0", "--public-address", "stand.example", "--page"});
    for (const auto& [host, status] : {std::pair("Stand.Example", 200), {"another.example", 403}}) {
        const QString port = QString::number(QUrl(stand.ready()["admin"].toString()).port());
        const HttpReply page = StandClient(stand).send("GET", "http://127.0.0.1:" + port + "/", {},
                                                       {QString("Host: ") + host + ':' + port});
        EXPECT_EQ(page.status, status) << host;
    }
}

TEST(PublicAddress, OfAllAddressesIsOneThatOthersCanReach)
{
    const auto all = QNetworkInterface::allAddresses();
    const auto isReachable = [](const QHostAddress& address) {
        return !address.isLoopback() && address.protocol() == QAbstractSocket::IPv4Protocol;
    };
    if (std::ranges::none_of(all, isReachable)) {
        const ProcessOutcome outcome = runProcess(MARKSIM_PATH, {"--bind", "0.0.0.0"});
        EXPECT_EQ(outcome.exitStatus, 2);
        EXPECT_TRUE(outcome.errors.contains("give --public-address")) << outcome.errors.data();
        return;
    }
    const MarkSim stand({"--bind", "0.0.0.0", "--tls"});
    const QHostAddress address(QUrl(stand.url("site-1")).host());
    EXPECT_TRUE(isReachable(address) && all.contains(address)) << stand.url("site-1").toStdString();
    EXPECT_EQ(hostOf(stand, "admin"), "127.0.0.1") << "the admin port is bound to the loopback";
}
