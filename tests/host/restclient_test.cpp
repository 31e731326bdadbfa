// What the client sends, and how its exchanges begin and end.
#include <thread>

#include <QJsonArray>
#include <QJsonObject>

#include "scriptedserver.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/settings.h"
#include <gtest/gtest.h>
#include <network/restclient.h>

namespace {

using namespace std::chrono_literals;
using http::NetworkError;
using Headers = QHash<QString, QString>;
using Then = ScriptedReply::Then;

const QJsonDocument someBody(QJsonObject{{"codes", QJsonArray{"код"}}});

class RestClientTest : public testing::Test
{
protected:
    http::Response get(const QUrl& url, const Headers& headers = {}) { return client.get(url, {}, headers); }

    Settings settings;
    RestClient client;
};

void expectFailed(const http::Response& response, NetworkError error, const char* id)
{
    EXPECT_EQ(response.networkError(), error);
    EXPECT_EQ(response.isTimeout(), error == NetworkError::Timeout);
    EXPECT_EQ(response.isNetworkError(), error != NetworkError::Timeout);
    EXPECT_EQ(response.errorText().id(), id);
}

TEST_F(RestClientTest, RequestLineAndBodyFollowTheOperation)
{
    const ScriptedServer server{okReply()};
    client.get(server.url("/a b?c=%2F#d"), {}, {});
    client.post(server.url(), someBody, {});
    client.get(server.url(), someBody, {});
    client.post(server.url(), {}, {});
    client.request(server.url(), {}, {});
    client.request(server.url(), QJsonDocument(QJsonObject()), {});

    const QByteArray json = someBody.toJson(QJsonDocument::Compact);
    const std::pair<QByteArray, QByteArray> expected[] = {
        {"GET /a%20b?c=%2F HTTP/1.1", ""}, {"POST / HTTP/1.1", json}, {"GET / HTTP/1.1", json},
        {"POST / HTTP/1.1", ""},           {"GET / HTTP/1.1", ""},    {"POST / HTTP/1.1", "{}"}};
    const auto received = server.received();
    ASSERT_EQ(received.size(), 6);
    for (qsizetype i = 0; i < received.size(); ++i) {
        const auto& [line, body] = expected[i];
        EXPECT_EQ(received[i].head.left(received[i].head.indexOf("\r\n")), line);
        EXPECT_EQ(received[i].body, body);
        EXPECT_EQ(received[i].line("Content-Type"), body.isEmpty() ? "" : "Content-Type: application/json");
    }
}

TEST_F(RestClientTest, RequestHeadersAreSentAsGivenAndOnce)
{
    const ScriptedServer server{okReply()};
    client.post(server.url(), QJsonDocument(QJsonArray{QString(2'000'000, u'x')}),
                {{"X-API-KEY", {}}, {"X-Text", "a, \"b\": c;"}, {"Content-Type", "text/json"}});
    client.post(server.url(), someBody, {{"X-API-KEY", "key"}});
    const auto received = server.received();
    ASSERT_EQ(received.size(), 2);
    for (const QByteArray line : {"X-API-KEY:", "X-Text: a, \"b\": c;", "Content-Type: text/json",
                                  "Accept-Encoding: gzip, deflate"}) {
        EXPECT_TRUE(received[0].head.contains("\r\n" + line + "\r\n")) << line.constData();
    }
    EXPECT_EQ(received[0].line("Expect"), QByteArray()) << "it would cost a round trip";
    EXPECT_EQ(received[0].body.size(), 2'000'004);
    EXPECT_EQ(received[1].line("X-API-KEY"), "X-API-KEY: key");
    EXPECT_EQ(received[1].line("X-Text"), QByteArray());
}

TEST_F(RestClientTest, RequestThatWouldBeBrokenIsRefused)
{
    const ScriptedServer server{okReply()};
    const std::pair<QString, QString> headers[] = {{"X-A", "1\r\nX-B: 2"}, {"X-A", "1\n"}, {"X-A", QChar()},
                                                   {"X-A\r\nX-B", "1"},    {"", "1"},      {"X-A: 1", "1"}};
    for (const auto& [name, value] : headers) {
        expectFailed(get(server.url(), {{name, value}}), NetworkError::ProtocolFailure, "networkBadHeader");
    }
    EXPECT_EQ(server.connections(), 0);
    for (const char* url : {"", "127.0.0.1", "ftp://127.0.0.1/", "file:///etc/passwd", "http:///path"}) {
        expectFailed(get(QUrl(url)), NetworkError::ProtocolUnknown, "networkBadUrl");
    }
}

TEST_F(RestClientTest, RequestIsLoggedInOneLineWithoutCredentials)
{
    LogWatch log;
    const ScriptedServer server{{"HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n"}};
    client.setLogger(Log4Qt::LogManager::logger("exchange"));
    QUrl url = server.url("/path");
    url.setUserInfo("user:password");
    get(url, {{"X-API-KEY", "key-of-this-exchange"}, {"authorization", "Basic dXNlcjpwYXNz"}});
    Log4Qt::LogManager::logger("other")->info("key-of-this-exchange dXNlcjpwYXNz");
    const QString lines = log.takeNamed().join('|');
    EXPECT_TRUE(lines.startsWith("exchange: warn GET " + server.url("/path").toString() + ": 401, "));
    EXPECT_TRUE(lines.endsWith("Обращение к 127.0.0.1: код ответа HTTP 401|"
                               "other: info ****************ange ********YXNz"))
        << qPrintable(lines);
}

TEST_F(RestClientTest, DeadlineEndsASilentExchange)
{
    client.setTargetAlias("серверу проверки");
    const ScriptedServer server{{"", Then::Silence}};
    client.setTimeout(60ms);
    const auto byTimeout = get(server.url());
    const QDeadlineTimer deadline(60ms);
    client.setDeadline(deadline);
    const auto byDeadline = get(server.url());
    EXPECT_TRUE(deadline.hasExpired());
    for (const auto& response : {byTimeout, byDeadline}) {
        expectFailed(response, NetworkError::Timeout, "networkTimeout");
        EXPECT_EQ(response.errorText().ru(), "Обращение к серверу проверки: превышено время ожидания ответа");
    }
}

TEST_F(RestClientTest, DeadlineInThePastMeansNoExchangeAndTheLastSetterIsInForce)
{
    const ScriptedServer server{okReply()};
    QDeadlineTimer passed;
    passed.setPreciseDeadline(0, 1);
    const std::function<void()> generous[] = {
        [&] { client.setTimeout(0); }, [&] { client.setTimeout(std::numeric_limits<int>::max()); },
        [&] { client.setTimeout(std::chrono::milliseconds::max()); },
        [&] { client.setDeadline(QDeadlineTimer(QDeadlineTimer::Forever)); },
        [&] { client.setDeadline(QDeadlineTimer(24h * 365 * 100)); }};
    for (const auto& set : generous) {
        for (const QDeadlineTimer& deadline : {passed, QDeadlineTimer(0)}) {
            client.setDeadline(deadline);
            expectFailed(get(server.url()), NetworkError::Timeout, "networkTimeout");
        }
        set();
        EXPECT_EQ(get(server.url()).status(), 200);
    }
    EXPECT_EQ(server.received().size(), std::size(generous));
}

TEST_F(RestClientTest, ConnectionIsKeptUntilEitherSideEndsIt)
{
    const ScriptedServer server{okReply(), okReply(), {okReply().bytes, Then::Close}, okReply()};
    const Headers close = {{"Connection", "close"}};
    const std::pair<Headers, int> requests[] = {{{}, 1}, {{}, 1}, {{}, 1}, {{}, 2}, {close, 2}, {{}, 3}};
    for (const auto& [headers, connections] : requests) {
        EXPECT_EQ(get(server.url(), headers).status(), 200);
        EXPECT_EQ(server.connections(), connections);
    }
}

TEST_F(RestClientTest, ConnectionIsUsedByThreadsInTurn)
{
    const ScriptedServer server{okReply()};
    const auto ask = [&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(get(server.url()).status(), 200);
        }
    };
    std::thread other(ask);
    ask();
    other.join();
    EXPECT_EQ(server.received().size(), 100);
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(RestClientTest, ConnectionIsEndedByCancelAllNowAndLater)
{
    const ScriptedServer server{{"HTTP/1.1 200 OK\r\n", Then::Silence}, {"", Then::Silence}, okReply()};
    for (const bool withdrawnAtOnce : {true, false}) {
        http::Response response;
        std::thread requester([&] { response = get(server.url()); });
        server.waitForRequests(withdrawnAtOnce ? 1 : 2);
        RestClient::cancelAll(true);
        if (withdrawnAtOnce) {
            RestClient::cancelAll(false);
        }
        requester.join();
        expectFailed(response, NetworkError::OperationCanceled, "networkCanceled");
    }
    expectFailed(get(server.url()), NetworkError::OperationCanceled, "networkCanceled");
    EXPECT_EQ(server.received().size(), 2);
    RestClient::cancelAll(false);
    EXPECT_EQ(get(server.url()).status(), 200);
}

TEST_F(RestClientTest, ObserverIsToldOfEveryExchangeUntilItIsTakenAway)
{
    const ScriptedServer server{
        {"HTTP/1.1 404 No\r\nDate: Fri, 31 Jan 2025 12:00:00 GMT\r\nContent-Length: 0\r\n\r\n"}};
    QList<http::ExchangeRecord> seen;
    RestClient::setExchangeObserver([&](const http::ExchangeRecord& record) { seen.append(record); });
    client.post(server.url("/a"), someBody, {});
    get(QUrl("ftp://127.0.0.1/"));
    get(QUrl("http://127.0.0.1:1/"));
    RestClient::setExchangeObserver({});
    get(server.url());

    ASSERT_EQ(seen.size(), 3);
    EXPECT_TRUE(seen[0].post);
    EXPECT_EQ(seen[0].response.status(), 404);
    EXPECT_EQ(seen[0].transport.stage, http::Stage::Talk);
    EXPECT_EQ(seen[0].transport.peer, server.url().authority());
    EXPECT_EQ(seen[0].transport.serverTime, QDateTime({2025, 1, 31}, {12, 0}, Qt::UTC));
    EXPECT_GT(seen[0].transport.connected, seen[0].transport.resolved);
    EXPECT_GE(seen[0].duration, seen[0].transport.connected);
    EXPECT_EQ(seen[1].transport.stage, http::Stage::Nowhere);
    EXPECT_EQ(seen[2].transport.stage, http::Stage::Connect);
    EXPECT_EQ(seen[2].response.networkError(), NetworkError::ConnectionRefused);
    EXPECT_FALSE(seen[2].transport.serverTime.isValid());
}

TEST_F(RestClientTest, ConnectionGoesThroughTheProxyOfTheSettingsOnly)
{
    const ScriptedServer server{okReply()};
    const ScriptedServer proxy{okReply("proxied")};
    qputenv("http_proxy", "http://127.0.0.1:1");
    qputenv("no_proxy", "*");
    EXPECT_EQ(RestClient().get(server.url(), {}, {}).body(), "{}");
    settings.set("Network:proxy", proxy.url().toString());
    EXPECT_EQ(RestClient().get(server.url(), {}, {}).body(), "proxied");
    settings.set("Network:proxy", "http://127.0.0.1:1");
    expectFailed(RestClient().get(server.url(), {}, {}), NetworkError::ProxyConnectionRefused,
                 "networkProxyUnreachable");
    qunsetenv("http_proxy");
    qunsetenv("no_proxy");
}

}  // namespace
