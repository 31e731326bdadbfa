// A fault at every step of an exchange, over real sockets: the real plug-in's code sells one good while one
// server misbehaves at one step. Prints the table of what comes of it.
#include <cstdio>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include "plugin/crptservice.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/settings.h"
#include "tests/faults/faulttable.h"
#include "tests/faults/slowlookup.h"
#include <gtest/gtest.h>
#include <network/restclient.h>
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/eactivitylistener.h>

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Result = CheckMarkingCodesResult;
using Reply = ScriptedReply;

namespace {

/// How late an exchange may end on a machine that is busy with something else.
constexpr milliseconds Grace = 5s;
constexpr milliseconds LongLimit = 20s;
constexpr milliseconds ShortLimit = 20ms;
constexpr int MostReplyBytes = 16 << 20;

const MarkingCode Good("RU-0");

struct Step
{
    QString method;
    QByteArray body;  // usual reply; %1 stands for a site
};
const Step Steps[Places] = {{"/cdn/info", R"({"hosts":[{"host":"%1"}]})"},
                            {"/cdn/health/check", R"({"code":0})"},
                            {"/codes/check", R"({"code":0,"description":"ok","codes":[{"cis":"RU-0"}]})"},
                            {"/status", R"({"status":"ready"})"},
                            {"/outCheck", R"({"results":[{"codes":[{"cis":"RU-0"}]}]})"}};

const Step& stepAt(Place place)
{
    return Steps[int(place)];
}

Reply usualAt(Place place, boost::asio::ssl::context* tls)
{
    Reply reply = okReply(stepAt(place).body);
    reply.tls = tls;
    return reply;
}

/// The real HTTP client, a new one for every exchange, with its own limit for one method, and with an eye on
/// that method's exchanges.
class WatchedClient : public RestClient
{
public:
    WatchedClient(const QString& method, milliseconds limit)
        : m_method(method)
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
        const bool watched = url.path().endsWith(m_method);
        RestClient client;
        client.setTimeout(watched ? m_limit : LongLimit);
        const auto begin = steady_clock::now();
        http::Response received = send(client);
        if (watched) {
            took = std::chrono::floor<milliseconds>(steady_clock::now() - begin);
            response = received;
        }
        return received;
    }

    const QString m_method;
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

/// The plug-in of a till, told of one operator and one local module.
Result sell(const QString& operatorUrl, const QString& moduleUrl)
{
    const QString ca = QString::fromStdString(caFile());
    const LogWatch quiet;
    Settings settings{
        {"MarkedGoods:markverifycrptservice", "crpt"}, {"LMCHZ:enable", "true"}, {"LMCHZ:token", "key"}};
    settings.set("LMCHZ:url", moduleUrl);
    settings.set("Network:caFile", ca);

    CrptService service;
    EXPECT_TRUE(service.init());
    const events::marking::InitVerifyService connection{Event(EActivityListener::InitVerifyService)};
    connection.setService("crpt");
    connection.setSection("MarkedGoods");
    connection.setHosts({operatorUrl});
    connection.setKeys({"key"});
    Singleton<ActivityNotifier>::instance()->sendEvent(connection.event());

    const control::Action action(control::EActionType::VerifyMarking);
    const control::args::marking::Verify arguments(action, "crpt");
    arguments.setMarkingCodes({Good});
    arguments.setApiKey("key");
    arguments.setOperationTimeout(60s);
    arguments.setRequestTimeout(60s);
    EXPECT_EQ(Singleton<ActionDispatcher>::instance()->perform(action), QList{EContext::Done});
    service.deinit();
    return arguments.verifyResult();
}

QString urlOf(const ScriptedServer& server, const Fault& fault)
{
    QUrl url = server.url({});
    url.setScheme(QString::fromStdString(fault.scheme));
    url.setHost(QString::fromStdString(fault.host));
    return url.toString();
}

/// Sells the good while the server that is asked at `place` answers with `reply` there.
Result sell(Place place, const Fault& fault, const Reply& reply)
{
    auto* tls = fault.scheme == "https" ? &goodTls() : nullptr;
    const Reply health = usualAt(Place::Health, tls);
    const Reply check = usualAt(Place::Check, tls);
    constexpr int goodLookups[Places] = {0, 0, 1, 0, 2};
    const SlowLookup lookup(goodLookups[int(place)]);
    switch (place) {
    case Place::List: {
        const ScriptedServer op{reply};
        return sell(urlOf(op, fault), "http://");
    }
    case Place::Health:
    case Place::Check: {
        const ScriptedServer site(place == Place::Health ? QList{reply, check} : QList{health, reply});
        const QByteArray list =
            QByteArray(stepAt(Place::List).body).replace("%1", urlOf(site, fault).toUtf8());
        const ScriptedServer op{okReply(list)};
        return sell(op.url().toString(), "http://");
    }
    case Place::Status:
    case Place::OutCheck:
        break;
    }
    const Reply status = usualAt(Place::Status, tls);  // asked for twice
    const ScriptedServer module(place == Place::Status ? QList{reply, reply, usualAt(Place::OutCheck, tls)}
                                                       : QList{status, status, reply});
    const ScriptedServer noOperator{{"", Reply::Then::Close, Reply::Door::Shut}};
    return sell(noOperator.url().toString(), urlOf(module, fault));
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
    /// What comes of one fault at one place, for all its replies; the longest exchange goes to `longest`.
    static void expectOutcome(Place place, const Fault& fault, milliseconds limit, milliseconds& longest)
    {
        const char expected = fault.outcomes.at(size_t(place));
        // The site that is listed, and that answers well: the reply to a check does for its health, too.
        const ScriptedServer site{usualAt(Place::Check, nullptr)};
        const QByteArray body = QByteArray(stepAt(place).body).replace("%1", site.url().toString().toUtf8());
        int number = 0;
        for (const Reply& reply : fault.replies(body)) {
            SCOPED_TRACE("reply " + std::to_string(number++));
            const WatchedClient client(stepAt(place).method, limit);
            const char outcome = outcomeOf(sell(place, fault, reply));
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
