// Which connections the client uses again, and what becomes of those that it must not.
#include <atomic>
#include <list>
#include <mutex>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>

#include "tests/doubles/settings.h"
#include "tests/support/marksim.h"
#include <gtest/gtest.h>
#include <network/restclient.h>

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

std::atomic<int> secondsAhead = 0;

/// Answers one request on each connection, with the connection's number, and keeps it open: the test may then
/// send on it what belongs to no request.
class NumberingServer
{
public:
    NumberingServer() = default;
    ~NumberingServer()
    {
        ::shutdown(m_acceptor.native_handle(), SHUT_RDWR);
        m_thread.join();
    }
    NumberingServer(const NumberingServer&) = delete;
    NumberingServer& operator=(const NumberingServer&) = delete;

    [[nodiscard]] quint16 port() const { return m_acceptor.local_endpoint().port(); }
    [[nodiscard]] QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port())); }

    static std::string reply(const std::string& head, const std::string& body)
    {
        return "HTTP/1.1 " + head + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
    /// On the last connection; ends it behind them when there are none.
    void send(const std::string& bytes)
    {
        const std::lock_guard lock(m_mutex);
        asio::write(m_connections.back(), asio::buffer(bytes));
        if (bytes.empty()) {
            m_connections.back().shutdown(tcp::socket::shutdown_send);
        }
    }

private:
    void serve()
    {
        boost::system::error_code error;
        for (tcp::socket peer = m_acceptor.accept(error); !error; peer = m_acceptor.accept(error)) {
            std::string request;
            asio::read_until(peer, asio::dynamic_buffer(request), "\r\n\r\n", error);
            const std::lock_guard lock(m_mutex);
            m_connections.push_back(std::move(peer));
            asio::write(m_connections.back(),
                        asio::buffer(reply("200 OK", std::to_string(m_connections.size()))), error);
        }
    }

    asio::io_context m_context;
    tcp::acceptor m_acceptor{m_context, tcp::endpoint(asio::ip::address_v4::loopback(), 0)};
    std::mutex m_mutex;
    std::list<tcp::socket> m_connections;
    std::thread m_thread{[this] { serve(); }};
};

/// Which connection each request came on, numbered from 1.
QList<int> connectionsOf(const MarkSim& stand)
{
    QList<int> seen, numbers;
    for (const QJsonObject& request : stand.requests("site-1")) {
        const int connection = request["connection"].toInt();
        seen += seen.contains(connection) ? QList<int>() : QList{connection};
        numbers << int(seen.indexOf(connection)) + 1;
    }
    return numbers;
}

class ConnectionTest : public testing::Test
{
protected:
    const MarkSim stand{MarkSim::startApart()};
    const QUrl url{stand.url("site-1") + "/"};
    RestClient client;
};

class IdleConnectionTest : public testing::Test
{
protected:
    http::Response get(const NumberingServer& server) { return client.get(server.url(), {}, {}); }

    NumberingServer site;
    NumberingServer otherSite;
    RestClient client;
};

TEST_F(ConnectionTest, IsKeptUntilEitherSideEndsIt)
{
    stand.behave("site-1", R"([{"text": "{}", "times": 2},
        {"text": "{}", "times": 1, "cut": {"after": "reply", "by": "close"}}, {"text": "{}"}])");
    const QHash<QString, QString> close = {{"Connection", "close"}};
    for (const auto& headers : {{}, {}, {}, {}, close, {}}) {
        EXPECT_EQ(client.get(url, {}, headers).status(), 200);
    }
    EXPECT_EQ(connectionsOf(stand), (QList{1, 1, 1, 2, 2, 3}));
}

TEST_F(ConnectionTest, IsUsedByThreadsInTurn)
{
    const auto ask = [&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(client.get(url, {}, {}).status(), 404);
        }
    };
    std::jthread other(ask);
    ask();
    other.join();
    EXPECT_EQ(connectionsOf(stand), QList<int>(100, 1));
}

TEST_F(IdleConnectionTest, WithSomethingToReadIsNotUsedAgain)
{
    int connections = 0;
    for (const std::string& pending :
         {NumberingServer::reply("200 OK", "stale"), NumberingServer::reply("408 Request Timeout", ""),
          std::string("H"), std::string()}) {
        for (const bool otherBetween : {false, true}) {
            SCOPED_TRACE(pending.substr(0, 12));
            EXPECT_EQ(get(site).body(), QByteArray::number(++connections));
            if (otherBetween) {
                get(otherSite);
            }
            site.send(pending);
            const http::Response next = get(site);
            EXPECT_EQ(next.body(), QByteArray::number(++connections));
            EXPECT_EQ(next.status(), 200);
            site.send("x");  // the next round begins with a new one
        }
    }
}

/// What follows a reply may be decrypted together with its end; the socket does not show it then.
TEST_F(IdleConnectionTest, WithSomethingDecryptedIsNotUsedAgain)
{
    const MarkSim stand({"--sites", "1", "--tls"});
    Settings settings;
    settings.set("Network:caFile", stand.ready()["caFile"].toString());
    RestClient encrypted;
    const QUrl url(stand.url("site-1") + "/");
    stand.behave("site-1", R"([{
        "text": "firstHTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nstale", "headers": {"Content-Length": "5"},
        "drip": {"bytes": 1000, "everyMs": 1}, "times": 1}, {"text": "next"}])");
    EXPECT_EQ(encrypted.get(url, {}, {}).body(), "first");
    EXPECT_EQ(encrypted.get(url, {}, {}).body(), "next");
    EXPECT_EQ(encrypted.get(url, {}, {}).body(), "next");
    EXPECT_EQ(connectionsOf(stand), (QList{1, 2, 2}));
}

TEST_F(IdleConnectionTest, IsNotUsedAgainAfterMoreThan15Seconds)
{
    const MarkSim stand;
    const QUrl url(stand.url("site-1") + "/");
    for (const int seconds : {0, 14, 16}) {
        secondsAhead += seconds;
        client.get(url, {}, {});
    }
    EXPECT_EQ(connectionsOf(stand), (QList{1, 1, 2}));
    secondsAhead = 0;  // other tests wait by this clock
}

}  // namespace

/// Stands before the C library's function of that name, also for libcurl.
extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const long result = syscall(SYS_clock_gettime, clock, time);
    time->tv_sec += clock == CLOCK_MONOTONIC ? secondsAhead.load() : 0;
    return int(result);
}
