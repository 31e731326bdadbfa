#pragma once

#include <memory>

#include "crpt/crptclient.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/noticewatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/scriptedclient.h"
#include "tests/doubles/settings.h"
#include "tests/doubles/simulatedclock.h"
#include <gmock/gmock.h>

/// An online client on a simulated clock and a scripted network. The operator's hosts are "http://op1"...,
/// their owner is "owner", the sites are "http://s1"...
class CrptClientTest : public testing::Test
{
protected:
    using Answer = ScriptedClient::Answer;
    using Answers = std::vector<Answer>;
    using Status = CrptClient::UpdateInfoStatus;
    using milliseconds = std::chrono::milliseconds;

    static constexpr milliseconds NoLimit = milliseconds::max();

    /// A reply that takes its time.
    Answer says(int status, const QJsonObject& body = {}, milliseconds takes = {}) const;
    /// An answer that takes its time.
    Answer answers(const http::Response& response, std::chrono::nanoseconds takes = {}) const;
    /// Accepts the request and never answers: a time-out at the request's deadline.
    Answer silent() const;
    /// The reply of an operator host that lists these sites.
    Answer lists(const QStringList& sites) const;

    // What the hosts and sites answer, request by request; the last answer stays.
    void info(const QString& host, const Answers& script) { http.script(host + Base + "/cdn/info", script); }
    void health(const QString& site, const Answers& script)
    {
        http.script(site + Base + "/cdn/health/check", script);
    }
    void check(const QString& site, const Answers& script)
    {
        http.script(site + Base + "/codes/check", script);
    }

    /// Makes and starts the client, after settings and before anything else. One host and one key with
    /// `registered`.
    void start(bool registered = true);
    /// A started client that knows these healthy sites, the first one the fastest.
    void startWithSites(const QStringList& sites);
    /// What startWithSites() has op1 list, once more.
    void relist(const QStringList& sites);

    http::Response request(milliseconds operationTimeout = NoLimit, milliseconds requestTimeout = NoLimit);

    /// The requests since the last call: "info op1", "health s1", "check s1"...
    QStringList asked();
    /// Forgets what was asked, logged and shown so far.
    void forget();

    static inline const QString Base = "/api/v4/true-api";
    static inline const QJsonObject Ok = {{"code", 0}, {"description", "ok"}};

    Settings settings;
    SimulatedClock clock;
    ScriptedClient http;
    LogWatch log;
    NoticeWatch notices;
    std::unique_ptr<CrptClient> client;
};
