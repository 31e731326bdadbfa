// What the client sends, how its exchanges begin and end, and what it makes of what comes back. Faults of
// every kind in a reply: tests/faults.
#include <thread>

#include <QJsonDocument>

#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/settings.h"
#include "tests/support/marksim.h"
#include <network/restclient.h>

namespace {

using namespace std::chrono_literals;
using http::NetworkError;
using Headers = QHash<QString, QString>;

const QJsonDocument someBody(QJsonObject{{"codes", QJsonArray{"код"}}});
const QByteArray json = someBody.toJson(QJsonDocument::Compact);

class RestClientTest : public testing::Test
{
protected:
    RestClientTest() { behave(R"({"text": "{}"})"); }

    http::Response get(const QUrl& url, const Headers& headers = {}) { return client.get(url, {}, headers); }
    http::Response get() { return get(server); }
    void behave(const char* behaviours) const { stand.behave("site-1", behaviours); }
    [[nodiscard]] QList<QJsonObject> received() const { return stand.requests("site-1"); }

    Settings settings;
    const MarkSim stand{MarkSim::startApart()};
    const QUrl server{stand.url("site-1") + "/"};
    RestClient client;
};

/// The value of a request's header as it came; null when there is none.
QString header(const QJsonObject& request, const QString& name)
{
    const QJsonArray headers = request["headers"].toArray();
    for (const QJsonValue line : headers) {
        if (line[0].toString() == name) {
            return line[1].toString();
        }
    }
    return {};
}

void expectFailed(const http::Response& response, NetworkError error, const char* id)
{
    EXPECT_EQ(response.networkError(), error);
    EXPECT_EQ(response.isTimeout(), error == NetworkError::Timeout);
    EXPECT_EQ(response.isNetworkError(), error != NetworkError::Timeout);
    EXPECT_EQ(response.errorText().id(), id);
}

TEST_F(RestClientTest, RequestLineAndBodyFollowTheOperation)
{
    client.get(server.resolved(QUrl("/a b?c=%2F#d")), {}, {});
    client.post(server, someBody, {});
    client.get(server, someBody, {});
    client.post(server, {}, {});
    client.request(server, {}, {});
    client.request(server, QJsonDocument(QJsonObject()), {});

    QList<QStringList> seen;
    for (const QJsonObject& request : received()) {
        seen << QStringList{request["method"].toString(), request["path"].toString(),
                            request["body"].toString(), header(request, "Content-Type")};
    }
    const QString type = "application/json";
    EXPECT_EQ(seen, (QList<QStringList>{{"GET", "/a%20b?c=%2F", "", ""},
                                        {"POST", "/", json, type},
                                        {"GET", "/", json, type},
                                        {"POST", "/", "", ""},
                                        {"GET", "/", "", ""},
                                        {"POST", "/", "{}", type}}));
}

TEST_F(RestClientTest, RequestHeadersAreSentAsGivenAndOnce)
{
    client.post(server, QJsonDocument(QJsonArray{QString(2'000'000, u'x')}),
                {{"X-API-KEY", {}}, {"X-Text", "a, \"b\": c;"}, {"Content-Type", "text/json"}});
    const QJsonObject request = received().value(0);
    const QJsonArray headers = request["headers"].toArray();
    for (const QJsonArray& line : {QJsonArray{"X-API-KEY", ""},
                                   {"X-Text", "a, \"b\": c;"},
                                   {"Content-Type", "text/json"},
                                   {"Accept-Encoding", "gzip, deflate"}}) {
        EXPECT_EQ(std::count(headers.begin(), headers.end(), line), 1) << line[0].toString().toStdString();
    }
    EXPECT_EQ(header(request, "Expect"), QString()) << "it would cost a round trip";
    EXPECT_EQ(request["body"].toString().size(), 2'000'004);
}

TEST_F(RestClientTest, RequestThatWouldBeBrokenIsRefused)
{
    const Headers broken[] = {{{"X-A", "1\r\nX-B: 2"}}, {{"X-A", "1\n"}}, {{"X-A", QChar()}},
                              {{"X-A\r\nX-B", "1"}},    {{"", "1"}},      {{"X-A: 1", "1"}}};
    for (const auto& headers : broken) {
        expectFailed(get(server, headers), NetworkError::OperationCanceled, "networkBadHeader");
    }
    EXPECT_TRUE(received().isEmpty());
    for (const char* url : {"", "127.0.0.1", "ftp://127.0.0.1/", "file:///etc/passwd", "http:///path"}) {
        expectFailed(get(QUrl(url)), NetworkError::ProtocolUnknown, "networkBadUrl");
    }
}

TEST_F(RestClientTest, RequestIsLoggedInOneLineWithoutCredentials)
{
    LogWatch log;
    behave(R"({"status": 401})");
    client.setLogger(Log4Qt::LogManager::logger("exchange"));
    QUrl url = server.resolved(QUrl("/path"));
    url.setUserInfo("user:password");
    get(url, {{"X-API-KEY", "key-of-this-exchange"}, {"authorization", "Basic dXNlcjpwYXNz"}});
    Log4Qt::LogManager::logger("other")->info("key-of-this-exchange dXNlcjpwYXNz");
    const QString lines = log.takeNamed().join('|');
    EXPECT_TRUE(lines.startsWith("exchange: warn GET " + stand.url("site-1") + "/path" + ": 401, "));
    EXPECT_TRUE(lines.endsWith("Обращение к 127.0.0.1: код ответа HTTP 401|"
                               "other: info ****************ange ********YXNz"))
        << qPrintable(lines);
}

TEST_F(RestClientTest, DeadlineEndsASilentExchange)
{
    client.setTargetAlias("серверу проверки");
    behave(R"({"silent": true})");
    const QDeadlineTimer deadline(60ms);
    client.setDeadline(deadline);
    const auto response = get();
    EXPECT_TRUE(deadline.hasExpired());
    expectFailed(response, NetworkError::Timeout, "networkTimeout");
    EXPECT_EQ(response.errorText().ru(), "Обращение к серверу проверки: превышено время ожидания ответа");
    client.setTimeout(60ms);
    expectFailed(get(), NetworkError::Timeout, "networkTimeout");
}

TEST_F(RestClientTest, DeadlineInThePastMeansNoExchangeAndTheLastSetterIsInForce)
{
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
            expectFailed(get(), NetworkError::Timeout, "networkTimeout");
        }
        set();
        EXPECT_EQ(get().status(), 200);
    }
    EXPECT_EQ(size_t(received().size()), std::size(generous));
}

TEST_F(RestClientTest, ConnectionIsEndedByCancelAllNowAndLater)
{
    behave(R"([{"cut": {"after": 17, "by": "stall"}, "times": 1}, {"silent": true, "times": 1}])");
    for (const bool withdrawnAtOnce : {true, false}) {
        http::Response response;
        std::thread requester([&] { response = get(); });
        EXPECT_TRUE(eventually([&] { return received().size() == (withdrawnAtOnce ? 1 : 2); }));
        RestClient::cancelAll(true);
        if (withdrawnAtOnce) {
            RestClient::cancelAll(false);
        }
        requester.join();
        expectFailed(response, NetworkError::OperationCanceled, "networkCanceled");
    }
    expectFailed(get(), NetworkError::OperationCanceled, "networkCanceled");
    EXPECT_EQ(received().size(), 2);
    RestClient::cancelAll(false);
    EXPECT_EQ(get().status(), 404);
}

TEST_F(RestClientTest, ObserverIsToldOfEveryExchangeUntilItIsTakenAway)
{
    behave(R"({"status": 404, "headers": {"Date": "Fri, 31 Jan 2025 12:00:00 GMT"}})");
    QList<http::ExchangeRecord> seen;
    RestClient::setExchangeObserver([&](const http::ExchangeRecord& record) { seen.append(record); });
    client.post(server, someBody, {});
    get(QUrl("ftp://127.0.0.1/"));
    get(QUrl("http://127.0.0.1:1/"));
    RestClient::setExchangeObserver({});
    get();

    ASSERT_EQ(seen.size(), 3);
    EXPECT_TRUE(seen[0].post);
    EXPECT_EQ(seen[0].response.status(), 404);
    EXPECT_EQ(seen[0].transport.stage, http::Stage::Talk);
    EXPECT_EQ(seen[0].transport.peer, server.authority());
    EXPECT_EQ(seen[0].transport.serverTime, QDateTime({2025, 1, 31}, {12, 0}, Qt::UTC));
    EXPECT_GT(seen[0].transport.connected, seen[0].transport.resolved);
    EXPECT_EQ(seen[1].transport.stage, http::Stage::Nowhere);
    EXPECT_EQ(seen[2].transport.stage, http::Stage::Connect);
    EXPECT_EQ(seen[2].response.networkError(), NetworkError::ConnectionRefused);
}

TEST_F(RestClientTest, ConnectionGoesThroughTheProxyOfTheSettingsOnly)
{
    stand.behave("site-2", R"({"text": "proxied"})");
    qputenv("http_proxy", "http://127.0.0.1:1");
    qputenv("no_proxy", "*");
    EXPECT_EQ(RestClient().get(server, {}, {}).body(), "{}");
    settings.set("Network:proxy", stand.url("site-2"));
    EXPECT_EQ(RestClient().get(server, {}, {}).body(), "proxied");
    settings.set("Network:proxy", "http://127.0.0.1:1");
    expectFailed(RestClient().get(server, {}, {}), NetworkError::ProxyConnectionRefused,
                 "networkProxyUnreachable");
    qunsetenv("http_proxy");
    qunsetenv("no_proxy");
}

TEST_F(RestClientTest, ReplyIsLimitedInSizeAfterDecompressionAndKeptByNobody)
{
    settings.set("Network:maxReplyBytes", "1000");
    RestClient limited;
    for (QJsonObject behaviour : {QJsonObject(), {{"encoding", "gzip"}}}) {
        behaviour["text"] = QString(1000, u'x');
        stand.behave("site-1", behaviour);
        const http::Response whole = limited.get(server, {}, {});
        EXPECT_EQ(whole.body().size(), 1000);
        EXPECT_TRUE(whole.body().isDetached());
        behaviour["text"] = QString(1001, u'x');
        stand.behave("site-1", behaviour);
        const http::Response cut = limited.get(server, {}, {});
        expectFailed(cut, NetworkError::OperationCanceled, "networkReplyTooLarge");
        EXPECT_EQ(cut.status(), 200);
        EXPECT_EQ(cut.body(), "");
        EXPECT_EQ(limited.lastError(), int(NetworkError::OperationCanceled));
    }
}

TEST(HttpStatus, IsMappedToItsErrorNumber)
{
    const std::pair<int, int> numbers[] = {
        {0, 0},     {200, 0},   {203, 0},   {399, 0},   {400, 302}, {401, 204}, {402, 299}, {403, 201},
        {404, 203}, {405, 202}, {407, 105}, {409, 206}, {410, 207}, {418, 302}, {429, 299}, {499, 299},
        {500, 401}, {501, 402}, {502, 499}, {503, 403}, {504, 499}, {599, 499}};
    for (const auto& [status, number] : numbers) {
        EXPECT_EQ(int(http::networkErrorOfStatus(status)), number) << status;
    }
}

TEST(Response, CopyKeepsItsBodyWhenTheOriginalChanges)
{
    http::Response original;
    original.setBody("{\"a\":1}");
    const http::Response copy = original;
    original.setBody("{\"a\":2}");
    EXPECT_EQ(copy.responseObject()[u"a"], 1);
    EXPECT_EQ(original.responseObject()[u"a"], 2);
}

}  // namespace
