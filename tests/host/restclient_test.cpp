// What the client sends, and how its exchanges begin and end.
#include <gtest/gtest.h>

#include <thread>

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryFile>

#include <config/config.h>
#include <log4qt/logmanager.h>
#include <network/restclient.h>

#include "printers.h"
#include "scriptedserver.h"
#include "slowlookup.h"

namespace {

using namespace std::chrono_literals;
using http::NetworkError;
using Headers = QHash<QString, QString>;
using Then = ScriptedReply::Then;

const QJsonDocument someBody(QJsonObject{{QStringLiteral("codes"), QJsonArray{QStringLiteral("код")}}});

class RestClientTest : public testing::Test
{
protected:
    void TearDown() override
    {
        RestClient::cancelAll(false);
        Singleton<Config>::instance()->clear();
    }

    static void configure(const char* key, const QString& value)
    {
        Singleton<Config>::instance()->setValue(QString::fromLatin1(key), value);
    }
    http::Response get(const QUrl& url, const Headers& headers = {}) { return client.get(url, {}, headers); }

    RestClient client;
};

void expectNoExchange(const http::Response& response, NetworkError error, const char* id)
{
    EXPECT_EQ(response.status(), 0);
    EXPECT_EQ(response.networkError(), error);
    EXPECT_EQ(response.isTimeout(), error == NetworkError::Timeout);
    EXPECT_EQ(response.isNetworkError(), error != NetworkError::Timeout);
    EXPECT_EQ(response.errorText().id(), QString::fromLatin1(id));
}

using RequestLine = RestClientTest;

TEST_F(RequestLine, AndBodyFollowTheOperation)
{
    const ScriptedServer server(okReply());
    const QByteArray json = "{\"codes\":[\"код\"]}";
    client.get(server.url(QStringLiteral("/a b?c=%2F#d")), {}, {});
    client.post(server.url(), someBody, {});
    client.get(server.url(), someBody, {});
    client.post(server.url(), {}, {});
    client.request(server.url(), {}, {});
    client.request(server.url(), QJsonDocument(QJsonObject()), {});

    const struct
    {
        QByteArray line;
        QByteArray body;
        QByteArray type;
    } expected[] = {
        {"GET /a%20b?c=%2F HTTP/1.1", "", ""},
        {"POST / HTTP/1.1", json, "Content-Type: application/json"},
        {"GET / HTTP/1.1", json, "Content-Type: application/json"},
        {"POST / HTTP/1.1", "", ""},
        {"GET / HTTP/1.1", "", ""},
        {"POST / HTTP/1.1", "{}", "Content-Type: application/json"},
    };
    const auto received = server.received();
    ASSERT_EQ(received.size(), 6);
    for (qsizetype i = 0; i < received.size(); ++i) {
        EXPECT_EQ(received[i].head.left(received[i].head.indexOf("\r\n")), expected[i].line);
        EXPECT_EQ(received[i].body, expected[i].body);
        EXPECT_EQ(received[i].line("Content-Type"), expected[i].type);
    }
}

using RequestHeader = RestClientTest;

TEST_F(RequestHeader, IsSentAsGiven)
{
    const ScriptedServer server(okReply());
    client.post(server.url(), someBody,
                {{QStringLiteral("X-API-KEY"), QString()},
                 {QStringLiteral("X-Blank"), QStringLiteral("  ")},
                 {QStringLiteral("X-Text"), QStringLiteral("a, \"b\": c;")},
                 {QStringLiteral("Content-Type"), QStringLiteral("text/json")}});
    client.post(server.url(), someBody, {{QStringLiteral("X-API-KEY"), QStringLiteral("key")}});
    const auto received = server.received();
    ASSERT_EQ(received.size(), 2);
    EXPECT_EQ(received[0].line("X-API-KEY"), "X-API-KEY:");
    EXPECT_EQ(received[0].line("X-Blank"), "X-Blank:");
    EXPECT_EQ(received[0].line("X-Text"), "X-Text: a, \"b\": c;");
    EXPECT_EQ(received[0].line("Content-Type"), "Content-Type: text/json");
    EXPECT_EQ(received[0].line("Accept-Encoding"), "Accept-Encoding: gzip, deflate");
    EXPECT_EQ(received[0].line("Expect"), QByteArray());
    EXPECT_EQ(received[1].line("X-API-KEY"), "X-API-KEY: key");
    EXPECT_EQ(received[1].line("X-Text"), QByteArray());
}

TEST_F(RequestHeader, ExpectStaysOutOfLargeBodies)
{
    const ScriptedServer server(okReply());
    client.post(server.url(), QJsonDocument(QJsonArray{QString(2'000'000, u'x')}), {});
    ASSERT_EQ(server.received().size(), 1);
    EXPECT_EQ(server.received().first().line("Expect"), QByteArray());
    EXPECT_EQ(server.received().first().body.size(), 2'000'004);
}

TEST_F(RequestHeader, ThatWouldBreakTheRequestIsRefused)
{
    const ScriptedServer server(okReply());
    const Headers refused[] = {
        {{QStringLiteral("X-A"), QStringLiteral("1\r\nX-B: 2")}},
        {{QStringLiteral("X-A"), QStringLiteral("1\n")}},
        {{QStringLiteral("X-A"), QString(QChar::Null)}},
        {{QStringLiteral("X-A\r\nX-B"), QStringLiteral("1")}},
        {{QString(), QStringLiteral("1")}},
        {{QStringLiteral("X-A: 1"), QStringLiteral("1")}},
    };
    for (const Headers& headers : refused) {
        expectNoExchange(get(server.url(), headers), NetworkError::ProtocolFailure, "networkBadHeader");
    }
    EXPECT_EQ(server.connections(), 0);
    EXPECT_EQ(get(server.url()).status(), 200);
}

using Url = RestClientTest;

TEST_F(Url, ThatCannotBeAskedIsRefused)
{
    for (const char* text :
         {"", "127.0.0.1", "ftp://127.0.0.1/", "file:///etc/passwd", "http:///path", "http://"}) {
        expectNoExchange(get(QUrl(QString::fromLatin1(text))), NetworkError::ProtocolUnknown,
                         "networkBadUrl");
    }
}

using KeepAlive = RestClientTest;

TEST_F(KeepAlive, UsesOneConnectionUntilEitherSideEndsIt)
{
    const ScriptedServer server({okReply(), okReply(), {okReply().bytes, Then::Close}, okReply()});
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(get(server.url()).status(), 200);
    }
    EXPECT_EQ(server.connections(), 1);
    EXPECT_EQ(get(server.url()).status(), 200);
    EXPECT_EQ(server.connections(), 2);

    const Headers close = {{QStringLiteral("Connection"), QStringLiteral("close")}};
    EXPECT_EQ(get(server.url(), close).status(), 200);
    EXPECT_EQ(server.connections(), 2);
    EXPECT_EQ(server.received().last().line("Connection"), "Connection: close");
    EXPECT_EQ(get(server.url()).status(), 200);
    EXPECT_EQ(server.connections(), 3);
}

using Deadline = RestClientTest;

TEST_F(Deadline, EndsASilentOrDrippingExchange)
{
    const ScriptedReply replies[] = {
        {"", Then::Silence},
        {"HTTP/1.1 200 OK\r\nContent-Length: 99999\r\n\r\n", Then::Drip},
        {"HTTP/1.1 200 OK\r\nX-Drip: ", Then::Drip},
    };
    client.setTargetAlias(QStringLiteral("серверу проверки"));
    const tr::Tr text(QStringLiteral("networkTimeout"),
                      QStringLiteral("Обращение к серверу проверки: превышено время ожидания ответа"));
    for (const ScriptedReply& reply : replies) {
        const ScriptedServer server(reply);
        client.setTimeout(60ms);
        const auto byTimeout = get(server.url());
        const QDeadlineTimer deadline(60ms);
        client.setDeadline(deadline);
        const auto byDeadline = get(server.url());
        EXPECT_TRUE(deadline.hasExpired());
        for (const auto& response : {byTimeout, byDeadline}) {
            EXPECT_TRUE(response.isTimeout());
            EXPECT_FALSE(response.isNetworkError());
            EXPECT_EQ(response.networkError(), NetworkError::Timeout);
            EXPECT_EQ(response.errorText(), text);
        }
    }
}

TEST_F(Deadline, InThePastMeansNoExchange)
{
    const ScriptedServer server(okReply());
    QDeadlineTimer passed;
    passed.setPreciseDeadline(0, 1);
    for (const QDeadlineTimer& deadline : {passed, QDeadlineTimer(0)}) {
        client.setDeadline(deadline);
        expectNoExchange(get(server.url()), NetworkError::Timeout, "networkTimeout");
    }
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(Deadline, LastSetterIsInForce)
{
    const ScriptedServer server(okReply());
    const std::function<void()> generous[] = {
        [&] { client.setTimeout(0); },
        [&] { client.setTimeout(-1); },
        [&] { client.setTimeout(std::numeric_limits<int>::max()); },
        [&] { client.setTimeout(std::chrono::milliseconds::max()); },
        [&] { client.setDeadline(QDeadlineTimer(QDeadlineTimer::Forever)); },
        [&] { client.setDeadline(QDeadlineTimer(24h * 365 * 100)); },
    };
    for (const auto& set : generous) {
        client.setDeadline(QDeadlineTimer(0));
        EXPECT_TRUE(get(server.url()).isTimeout());
        set();
        EXPECT_EQ(get(server.url()).status(), 200);
    }
}

TEST_F(Deadline, HoldsForTheNameLookUp)
{
    const SlowLookup slow;
    client.setTimeout(60ms);
    const auto response = get(QUrl(QStringLiteral("http://slow.test/")));
    EXPECT_TRUE(response.isTimeout());
    EXPECT_EQ(SlowLookup::finished(), 0);
}

using CancelAll = RestClientTest;

TEST_F(CancelAll, EndsRunningAndFutureExchanges)
{
    const ScriptedServer server({{"HTTP/1.1 200 OK\r\n", Then::Silence}, {"", Then::Silence}, okReply()});
    for (const bool withdrawnAtOnce : {true, false}) {
        http::Response response;
        std::thread requester([&] { response = get(server.url()); });
        server.waitForRequests(withdrawnAtOnce ? 1 : 2);
        RestClient::cancelAll(true);
        if (withdrawnAtOnce) {
            RestClient::cancelAll(false);
        }
        requester.join();
        EXPECT_TRUE(response.isNetworkError());
        EXPECT_FALSE(response.isTimeout());
        EXPECT_EQ(response.networkError(), NetworkError::OperationCanceled);
    }
    expectNoExchange(get(server.url()), NetworkError::OperationCanceled, "networkCanceled");
    EXPECT_EQ(server.received().size(), 2);
    RestClient::cancelAll(false);
    EXPECT_EQ(get(server.url()).status(), 200);
}

using Unreachable = RestClientTest;

TEST_F(Unreachable, ServerIsNamedInTheError)
{
    QUrl closedPort;
    {
        const ScriptedServer gone(okReply());
        closedPort = gone.url();
    }
    const auto refused = get(closedPort);
    expectNoExchange(refused, NetworkError::ConnectionRefused, "networkConnectionRefused");
    EXPECT_EQ(refused.errorText().ru(), QStringLiteral("Обращение к 127.0.0.1: соединение отклонено"));
    expectNoExchange(get(QUrl(QStringLiteral("http://unknown.test/"))), NetworkError::HostNotFound,
                     "networkHostNotFound");
}

TEST_F(Unreachable, ServerMayBeGoneAfterAReply)
{
    QUrl url;
    {
        const ScriptedServer first(okReply());
        url = first.url();
        EXPECT_EQ(get(url).status(), 200);
    }
    EXPECT_EQ(get(url).networkError(), NetworkError::ConnectionRefused);
}

using Threads = RestClientTest;

TEST_F(Threads, TakeTurns)
{
    const ScriptedServer server(okReply());
    const auto ask = [&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(get(server.url()).status(), 200);
            EXPECT_EQ(client.lastResponse().status(), 200);
        }
    };
    std::thread other(ask);
    ask();
    other.join();
    EXPECT_EQ(server.received().size(), 100);
    EXPECT_EQ(server.connections(), 1);
}

using Proxy = RestClientTest;

TEST_F(Proxy, ComesFromTheSettingsOnly)
{
    const ScriptedServer server(okReply());
    const ScriptedServer proxy(okReply("proxied"));
    qputenv("http_proxy", "http://127.0.0.1:1");
    qputenv("no_proxy", "*");
    RestClient direct;
    EXPECT_EQ(direct.get(server.url(), {}, {}).body(), "{}");
    configure("Network:proxy", proxy.url().toString());
    RestClient proxied;
    EXPECT_EQ(proxied.get(server.url(), {}, {}).body(), "proxied");
    configure("Network:proxy", QStringLiteral("http://127.0.0.1:1"));
    RestClient unlucky;
    expectNoExchange(unlucky.get(server.url(), {}, {}), NetworkError::ProxyConnectionRefused,
                     "networkProxyUnreachable");
    qunsetenv("http_proxy");
    qunsetenv("no_proxy");
}

using Tls = RestClientTest;

TEST_F(Tls, SendsNothingToAnUntrustedServer)
{
    TestCertificate trusted;
    TestCertificate outdated;
    const TestCertificate stranger;
    const TestCertificate ofOtherHost("192.0.2.1");
    outdated.setNewestVersion(TLS1_1_VERSION);
    const struct
    {
        const TestCertificate& served;
        QByteArray trustedPem;
        int status;
    } cases[] = {
        {trusted, trusted.pem(), 200}, {stranger, trusted.pem(), 0},
        {stranger, QByteArray(), 0},   {ofOtherHost, ofOtherHost.pem(), 0},
        {outdated, outdated.pem(), 0}, {trusted, QByteArray("no certificate"), 0},
    };
    for (const auto& [served, trustedPem, status] : cases) {
        QTemporaryFile caFile;
        ASSERT_TRUE(caFile.open());
        caFile.write(trustedPem);
        caFile.flush();
        configure("Network:caFile", trustedPem.isEmpty() ? QString() : caFile.fileName());
        const ScriptedServer server({okReply()}, &served);
        RestClient tlsClient;
        const auto response =
            tlsClient.get(server.url(), {}, {{QStringLiteral("X-API-KEY"), QStringLiteral("k")}});
        EXPECT_EQ(response.status(), status);
        EXPECT_EQ(response.networkError(),
                  status != 0 ? NetworkError::None : NetworkError::SslHandshakeFailed);
        EXPECT_EQ(server.received().size(), status != 0 ? 1 : 0);
    }
}

using ExchangeLog = RestClientTest;

TEST_F(ExchangeLog, HasOneLineWithoutCredentials)
{
    QList<Log4Qt::LogRecord> records;
    Log4Qt::LogManager::configure({.level = Log4Qt::Level::Debug, .file = QStringLiteral("/dev/null")});
    Log4Qt::LogManager::setWatcher([&](const auto& record) { records.append(record); });
    const ScriptedServer server({okReply(), {"HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n"}});
    client.setLogger(Log4Qt::LogManager::logger(QStringLiteral("exchange")));
    QUrl url = server.url(QStringLiteral("/path"));
    url.setUserInfo(QStringLiteral("user:password"));
    const Headers headers = {{QStringLiteral("X-API-KEY"), QStringLiteral("key-of-this-exchange")},
                             {QStringLiteral("authorization"), QStringLiteral("Basic dXNlcjpwYXNz")}};
    client.post(url, someBody, headers);
    client.get(url, {}, headers);
    Log4Qt::LogManager::logger(QStringLiteral("other"))
        ->info(QStringLiteral("key-of-this-exchange dXNlcjpwYXNz"));
    Log4Qt::LogManager::setWatcher({});
    Log4Qt::LogManager::configure({});

    ASSERT_EQ(records.size(), 3);
    EXPECT_EQ(records[0].level, Log4Qt::Level::Debug);
    EXPECT_EQ(records[0].logger, QStringLiteral("exchange"));
    const QString address = server.url(QStringLiteral("/path")).toString();
    EXPECT_TRUE(records[0].text.startsWith(QStringLiteral("POST %1: 200, ").arg(address)))
        << qPrintable(records[0].text);
    EXPECT_EQ(records[1].level, Log4Qt::Level::Warn);
    EXPECT_TRUE(records[1].text.startsWith(QStringLiteral("GET %1: 401, ").arg(address)));
    EXPECT_TRUE(records[1].text.endsWith(QStringLiteral("Обращение к 127.0.0.1: код ответа HTTP 401")));
    EXPECT_EQ(records[2].text, QStringLiteral("****************ange ********YXNz"));
}

}  // namespace
