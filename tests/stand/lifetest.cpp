#include <QFileInfo>
#include <QTcpSocket>
#include <QUrl>

#include "tests/stand/standtest.h"

namespace {

const QByteArray healthRequest = "GET /api/v4/true-api/cdn/health/check HTTP/1.1\r\nHost: x\r\n";

/// A bare connection over which these bytes were sent.
class Connection : public QTcpSocket
{
public:
    explicit Connection(const QString& url, const QByteArray& bytes = {})
    {
        connectToHost("127.0.0.1", static_cast<quint16>(QUrl(url).port()));
        EXPECT_TRUE(waitForConnected());
        write(bytes);
        EXPECT_TRUE(bytes.isEmpty() || waitForBytesWritten());
    }
};

}  // namespace

TEST(Life, EndsCleanlyWithConnectionsHangingInEveryState)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        MarkSim stand({"--tls"});
        const QString module = stand.url("module-1");
        const QString folder = QFileInfo(stand.ready()["caFile"].toString()).path();
        EXPECT_TRUE(QFileInfo::exists(folder));
        stand.behave("module-1", R"([{"silent": true, "times": 1}, {"latencyMs": 3600000, "times": 1},
                                     {"padMegabytes": 64}])");
        const Connection silent(module, healthRequest + "\r\n"), delayed(module, healthRequest + "\r\n"),
            flooded(module, healthRequest + "\r\n"), idle(module), half(module, healthRequest);
        const Connection handshake(stand.url("site-1"));
        EXPECT_TRUE(eventually([&] { return stand.requests("module-1").size() == 3; }));
        const ProcessOutcome outcome = stand.end(signal);
        EXPECT_EQ(outcome.exitStatus, 0);
        EXPECT_EQ(outcome.output, "") << "one line is all that goes to standard output";
        EXPECT_EQ(outcome.errors, "");
        EXPECT_FALSE(QFileInfo::exists(folder));
    }
}

TEST(PublicAddress, IsHandedOutEverywhere)
{
    const MarkSim stand(
        {"--bind", "0.0.0.0", "--admin-bind", "0.0.0.0", "--public-address", "localhost", "--page", "--tls"});
    for (const QString& url : {stand.url("operator-1"), stand.url("site-3"), stand.url("module-1"),
                               stand.ready()["admin"].toString(), stand.ready()["page"].toString()}) {
        EXPECT_EQ(QUrl(url).host(), "localhost");
    }
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
