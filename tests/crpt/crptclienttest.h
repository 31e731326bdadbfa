#pragma once

#include <memory>

#include "crpt/crptclient.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/scriptedclient.h"
#include "tests/doubles/settings.h"
#include "tests/doubles/simulatedclock.h"

/// An online client on a simulated clock and a scripted network. The operator's host is "http://op1", its
/// owner is "owner", the sites are "http://s1"... What can be compared with the model of the rules is
/// not tested here once more.
class CrptClientTest : public testing::Test
{
protected:
    using Answer = ScriptedClient::Answer;
    using Answers = std::vector<Answer>;
    using Status = CrptClient::UpdateInfoStatus;
    using milliseconds = std::chrono::milliseconds;

    static Answer answers(const http::Response& response);
    static Answer says(int status, const QJsonObject& body = {}) { return answers(reply(status, body)); }
    /// The reply of an operator host that lists these sites.
    static Answer lists(const QStringList& sites);

    // What the hosts and sites answer, request by request; the last answer stays.
    void info(const Answers& script) { http.script("op1" + base + "/cdn/info", script); }
    void check(const QString& site, const Answers& script)
    {
        http.script(site + base + "/codes/check", script);
    }

    /// Makes the client, with one host and one key, before it is started.
    void make();
    /// A started client that knows these sites, the first one the fastest.
    void startWithSites(const QStringList& sites);
    /// Has op1 list these healthy sites from now on.
    void relist(const QStringList& sites);

    http::Response request(milliseconds limit = milliseconds::max());

    static inline const QString base = "/api/v4/true-api";
    static inline const QJsonObject ok = {{"code", 0}, {"description", "ok"}};

    SimulatedClock clock;
    ScriptedClient http;
    LogWatch log;
    std::unique_ptr<CrptClient> client;
};
