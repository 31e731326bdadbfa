#pragma once

#include <memory>

#include "crpt/crptclient.h"
#include "tests/model/world.h"
#include <orvex/activitynotifier.h>
#include <utils/currenttime.h>

/// The real client in a world that follows a schedule: stands in for the host's clock, HTTP client, log and
/// cashier, and records what the client does. One in the process.
class RealSide : private RestClient, private CurrentTime
{
public:
    RealSide();
    ~RealSide() override;

    /// A new client that has been started.
    /// `expected` is the trace that the model leaves, each action before it is performed here.
    void begin(World& world, const Trace& expected);
    void perform(const Step& step);
    void end();

private:
    class Client;

    // The clock
    QDateTime currentDateTime() const override;
    std::chrono::nanoseconds monotonic() const override;
    void sleepFor(std::chrono::milliseconds duration) const override;

    // Every HTTP client. What one has been set to is forgotten with its request.
    using RestClient::setTimeout;
    void setTimeout(std::chrono::milliseconds timeout) override { m_set.timeout = timeout.count(); }
    void setDeadline(const QDeadlineTimer& deadline) override;
    void setTargetAlias(const QString& alias) override { m_set.alias = alias; }
    void setLogger(const Log4Qt::Logger* logger) override { m_set.isNew = logger != nullptr; }
    using Headers = QHash<QString, QString>;
    http::Response get(const QUrl& url, const QJsonDocument& body, const Headers& headers) override;
    http::Response post(const QUrl& url, const QJsonDocument& body, const Headers& headers) override;
    http::Response request(const QUrl& url, const QJsonDocument& body, const Headers& headers) override;
    http::Response exchange(const QUrl& url, const QJsonDocument& body,
                            const QHash<QString, QString>& headers, bool posted);

    void check(const Step& step);
    void recordResponse(const http::Response& response);
    void recordVerdicts(const CheckMarkingCodesResult& result);

    World* m_world = nullptr;
    const Trace* m_expected = nullptr;
    mutable qint64 m_realTime = 0;  ///< in nanoseconds, when the client last asked for the time
    std::unique_ptr<Client> m_client;
    ActivityNotifier::Registration m_cashier;
    QHash<QUrl, int> m_methods;  ///< of all addresses: address * 3 + method

    struct Setup
    {
        QString alias;
        qint64 timeout = -1;
        std::optional<qint64> deadline;  ///< of the world's clock
        bool isNew = false;
    };
    Setup m_set;
    Headers m_checkHeaders;  ///< of the check that is running
};
