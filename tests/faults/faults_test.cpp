// A fault at every step of an exchange, over real sockets: the real plug-in's code sells one good while one
// server misbehaves at one step. Prints the table of what comes of it.
#include <cstdio>

#include "tests/e2e/till.h"
#include "tests/faults/faulttable.h"
#include "tests/faults/slowlookup.h"
#include <gtest/gtest.h>
#include <network/restclient.h>

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Result = CheckMarkingCodesResult;

namespace {

/// How late an exchange may end on a machine that is busy with something else.
constexpr milliseconds Grace = 5s;
constexpr milliseconds LongLimit = 20s;
constexpr milliseconds ShortLimit = 20ms;
constexpr int MostReplyBytes = 16 << 20;

const MarkingCode Good("RU-401301-AAA0277031");

struct Step
{
    const char* server;
    QString method;
    QByteArray body;  // usual reply; %1 stands for a site
};
const Step Steps[Places] = {
    {"operator-1", "/cdn/info", R"({"hosts":[{"host":"%1"}]})"},
    {"site-1", "/cdn/health/check", R"({"code":0})"},
    {"site-1", "/codes/check", R"({"code":0,"description":"ok","codes":[{"cis":"RU-401301-AAA0277031"}]})"},
    {"module-1", "/status", R"({"status":"ready"})"},
    {"module-1", "/outCheck", R"({"results":[{"codes":[{"cis":"RU-401301-AAA0277031"}]}]})"}};

const Step& stepAt(Place place)
{
    return Steps[int(place)];
}

/// With one site, without TLS or with it.
const MarkSim& standFor(const Fault& fault)
{
    static const MarkSim plain({"--sites", "1"});
    static const MarkSim encrypted({"--sites", "1", "--tls", "--tls-modules"});
    return fault.scheme == "https" ? encrypted : plain;
}

/// The real HTTP client, a new one for every exchange. At the exchanges of one step the stand's server
/// behaves as told, and they have a limit of their own and are looked at.
class WatchedClient : public RestClient
{
public:
    WatchedClient(const MarkSim& stand, const Step& step, const QJsonObject& behaviour, milliseconds limit)
        : m_stand(stand)
        , m_step(step)
        , m_behaviour(behaviour)
        , m_limit(limit)
    {
        MockFactory<RestClient>::mocked = this;
    }
    ~WatchedClient() override { MockFactory<RestClient>::mocked = nullptr; }
    WatchedClient(const WatchedClient&) = delete;
    WatchedClient& operator=(const WatchedClient&) = delete;

    http::Response get(const QUrl& url, const QJsonDocument& body,
                       const QHash<QString, QString>& headers) override
    {
        return exchange(url, [&](RestClient& client) { return client.get(url, body, headers); });
    }
    http::Response post(const QUrl& url, const QJsonDocument& body,
                        const QHash<QString, QString>& headers) override
    {
        return exchange(url, [&](RestClient& client) { return client.post(url, body, headers); });
    }

    http::Response response;
    milliseconds took{};

private:
    template <class Send>
    http::Response exchange(const QUrl& url, Send send)
    {
        RestClient client;
        client.setTimeout(LongLimit);
        if (!url.path().endsWith(m_step.method)) {
            return send(client);
        }
        m_stand.behave(m_step.server, m_behaviour);
        client.setTimeout(m_limit);
        const auto begin = steady_clock::now();
        response = send(client);
        took = std::chrono::floor<milliseconds>(steady_clock::now() - begin);
        m_stand.behave(m_step.server, "[]");
        return response;
    }

    const MarkSim& m_stand;
    const Step& m_step;
    const QJsonObject m_behaviour;
    const milliseconds m_limit;
};

std::string seenIn(const http::Response& response)
{
    if (response.isTimeout()) {
        return "time-out";
    }
    return response.isNetworkError() ? "error " + std::to_string(int(response.networkError()))
                                     : std::to_string(response.status());
}

QString urlOf(const char* server, const Fault& fault)
{
    QUrl url = standFor(fault).url(server);
    url.setHost(fault.host);
    return url.toString();
}

/// Sells the good while one server is to be found under the fault's address. The module is only told of where
/// it is to be asked, since there is no operator then.
Result sell(Place place, const Fault& fault)
{
    constexpr int goodLookups[Places] = {0, 0, 1, 0, 2};
    const SlowLookup lookup(goodLookups[int(place)]);
    const MarkSim& stand = standFor(fault);
    const bool offline = place == Place::Status || place == Place::OutCheck;
    if (fault.host != "127.0.0.1" && !offline) {
        stand.behave("operator-1",
                     QJsonObject{{"set", QJsonObject{{"/hosts/0/host", urlOf("site-1", fault)}}}});
    }
    QStringList settings{"LMCHZ:enable=true", "LMCHZ:url=http://"};
    if (offline) {
        settings = moduleSettings(stand) + QStringList{"LMCHZ:url=" + urlOf("module-1", fault)};
    }
    Till till(stand, settings);
    const QString operatorUrl = place == Place::List ? urlOf("operator-1", fault) : stand.url("operator-1");
    till.connectOperator({stand.key()}, {offline ? "http://127.0.0.1:1" : operatorUrl});
    const auto result = till.tryVerify({Good}, 60s, 60s);
    EXPECT_TRUE(result);
    till.stop();
    return result.value_or(Result());
}

/// A letter of Fault::outcomes, '?' for what may not be.
char outcomeOf(const Result& result)
{
    const bool passed = result.passedCodes == QList{Good} && result.failedCodes.isEmpty();
    const auto failedBy = [&](Result::EStatus flag) {
        return result.passedCodes.isEmpty() && result.failedCodes.size() == 1 &&
               result.failedCodes.value(Good).status == Result::Status(flag);
    };
    if (result.errorKind() == http::ErrorKind::SalePermitted) {
        return passed ? 'S' : '?';
    }
    if (result.errorKind() == http::ErrorKind::Unreachable) {
        return failedBy(Result::Unreachable) ? 'U' : '?';
    }
    if (result.url().isEmpty()) {  // the reply part of a module's result is empty
        return passed ? 'O' : result.passedCodes.isEmpty() && result.failedCodes.isEmpty() ? 'N' : '?';
    }
    return passed ? 'P' : failedBy(Result::NotInReply) ? 'F' : '?';
}

const char* wordsOf(char outcome)
{
    static const std::map<char, const char*> words = {
        {'P', "0 passed"},       {'F', "0 failed 0x1"},  {'S', "1 passed"}, {'U', "2 failed 0x2"},
        {'O', "offline passed"}, {'N', "offline empty"}, {'-', "-"},        {'?', "?"}};
    return words.at(outcome);
}

class FaultTable : public testing::TestWithParam<Faults>
{
protected:
    /// What comes of one fault at one place, however it shows; the longest exchange goes to `longest`.
    static void expectOutcome(Place place, const Fault& fault, milliseconds limit, milliseconds& longest)
    {
        const char expected = fault.outcomes.at(size_t(place));
        const MarkSim& stand = standFor(fault);
        const QByteArray body = QByteArray(stepAt(place).body).replace("%1", stand.url("site-1").toUtf8());
        for (const QJsonObject& behaviour : fault.behaviours(body)) {
            SCOPED_TRACE(toJson(behaviour).left(500).toStdString());
            const WatchedClient client(stand, stepAt(place), behaviour, limit);
            const char outcome = outcomeOf(sell(place, fault));
            EXPECT_EQ(outcome, expected);
            EXPECT_EQ(seenIn(client.response), fault.seen);
            EXPECT_LE(client.response.body().size(), MostReplyBytes);
            EXPECT_LT(client.took, limit + Grace);
            if (fault.seen == "time-out") {
                EXPECT_GE(client.took, limit);
            }
            longest = std::max(longest, client.took);
        }
    }
};

TEST_P(FaultTable, EndsInTimeWithTheVerdictThatTheRulesGive)
{
    std::printf("%-46s %-10s %-14s %-14s %-14s %-14s %-14s %s\n", GetParam().name, "HTTP", "site list",
                "site health", "site check", "module status", "module check", "ms of budget");
    for (const Fault& fault : GetParam().rows) {
        SCOPED_TRACE(fault.name);
        const milliseconds usual = fault.seen == "time-out" ? ShortLimit : LongLimit;
        const milliseconds limit = fault.limit > 0ms ? fault.limit : usual;
        milliseconds longest{};
        std::printf("%-46s %-10s ", fault.name.c_str(), fault.seen.c_str());
        for (int place = 0; place < Places; ++place) {
            SCOPED_TRACE(stepAt(Place(place)).method.toStdString());
            if (fault.outcomes[size_t(place)] != '-') {
                expectOutcome(Place(place), fault, limit, longest);
            }
            std::printf("%-14s ", wordsOf(fault.outcomes[size_t(place)]));
        }
        std::printf("%d of %d\n", int(longest.count()), int(limit.count()));
    }
}

INSTANTIATE_TEST_SUITE_P(A, FaultTable, testing::ValuesIn(allFaults()),
                         [](const auto& faults) { return std::string(faults.param.name); });

}  // namespace
