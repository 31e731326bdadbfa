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
