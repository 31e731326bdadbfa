#pragma once

#include <memory>

#include "crpt/crptclient.h"
#include "tests/model/world.h"
#include <orvex/activitynotifier.h>
#include <utils/currenttime.h>

/// The real client in a world that follows a schedule: stands in for the host's clock, HTTP client, log and
/// cashier, records what the client does, and holds it against what must be true whatever the rules say in
/// detail. One in the process.
class RealSide : private RestClient, private CurrentTime
{
public:
    RealSide();
    ~RealSide() override;

    /// A new client that has been started.
    void begin(World& world);
    void perform(const Step& step);
    void end();

    /// The first thing that must never be; empty when there was none.
    [[nodiscard]] const QString& violation() const { return m_violation; }

private:
    class Client;

    // The clock
    QDateTime currentDateTime() const override;
    std::chrono::nanoseconds monotonic() const override;
    void sleepFor(std::chrono::milliseconds duration) const override;

    // Every HTTP client. What one has been set to is forgotten with its request.
    using RestClient::setTimeout;
    void setTimeout(std::chrono::milliseconds timeout) override { m_set.timeout = timeout.count(); }
    void setDeadline(const QDeadlineTimer& deadline) override { m_set.deadline = deadline; }
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
    void recordVerdicts(const CheckMarkingCodesResult& result, const QList<MarkingCode>& requested);

    void sawLine(const QString& text);
    void sawAttempt(const QString& host, std::optional<qint64> deadline);
    void lookAtSites() const;
    void violated(const QString& what);

    World* m_world = nullptr;
    std::unique_ptr<Client> m_client;
    ActivityNotifier::Registration m_cashier;
    QHash<QUrl, int> m_methods;  ///< of all addresses: address * 3 + method

    struct Setup
    {
        QString alias;
        qint64 timeout = -1;
        std::optional<QDeadlineTimer> deadline;
        bool isNew = false;
    };
    Setup m_set;

    /// The check that is running: what it was given, and how far it has come.
    struct Call
    {
        Headers headers;
        std::optional<qint64> budget, limit, start;
        qint64 attempts = 0;
        qint64 wallAhead = 0;
    };
    Call m_call;
    mutable std::vector<CdnInfo> m_listed;  ///< the sites in force, as they were at the last look
    qsizetype m_updateBegan = 0;
    std::pair<qsizetype, qsizetype> m_inForce;  ///< of all sites measured
    QString m_violation;
};
