#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

#include <network/restclient.h>

/// One request as the code under test has made it.
struct SentRequest
{
    QString method;
    QUrl url;
    QHash<QString, QString> headers;
    QByteArray body;  ///< compact JSON; empty for an empty document
    QString alias;
    std::chrono::milliseconds timeout{0};              ///< 0 when it has a deadline instead
    QDeadlineTimer deadline{QDeadlineTimer::Forever};  ///< when it has one
    const Log4Qt::Logger* logger = nullptr;
};

/// A network of scripted answers: every RestClient that is created while the object lives.
///
/// Settings (alias, time-out, logger) are kept for each thread, as if each had clients of its own.
/// Threads: any.
class ScriptedClient : public RestClient
{
    Q_OBJECT

public:
    using Answer = std::function<http::Response(const SentRequest&)>;

    ScriptedClient();
    ~ScriptedClient() override;

    /// Answers for the requests to "<host><path>", one after another; the last one stays. An address without
    /// a script is unreachable.
    void script(const QString& address, std::vector<Answer> answers);

    /// The requests since the last call, in order.
    [[nodiscard]] std::vector<SentRequest> take();
    /// How many clients were given a logger: as good as created, since each is given one.
    [[nodiscard]] int clientsSetUp() const { return m_clientsSetUp; }

    void setTimeout(int seconds) override;
    void setTimeout(std::chrono::milliseconds timeout) override;
    void setDeadline(const QDeadlineTimer& deadline) override;
    void setTargetAlias(const QString& alias) override;
    void setLogger(const Log4Qt::Logger* logger) override;
    http::Response get(const QUrl& url, const QJsonDocument& body,
                       const QHash<QString, QString>& headers) override;
    http::Response post(const QUrl& url, const QJsonDocument& body,
                        const QHash<QString, QString>& headers) override;
    [[nodiscard]] http::Response lastResponse() const override;
    [[nodiscard]] int lastError() const override;

private:
    struct PerThread
    {
        int owner = 0;
        SentRequest settings;
        http::Response last;
    };

    http::Response exchange(const QString& method, const QUrl& url, const QJsonDocument& body,
                            const QHash<QString, QString>& headers);
    Answer answerTo(const QUrl& url);
    [[nodiscard]] PerThread& own() const;

    const int m_number;
    std::atomic<int> m_clientsSetUp = 0;
    std::mutex
        m_mutex;  // guards what follows; the settings do without, it would hide what the tests look for
    std::map<QString, std::vector<Answer>> m_scripts;  // the next answer is the last element
    std::vector<SentRequest> m_sent;
};

/// A complete reply.
http::Response reply(int status, const QJsonObject& body = {});
/// No complete reply in time; `status` when the head has come.
http::Response timedOut(int status = 0);
/// No complete reply for a fault of the network.
http::Response cutOff(int status = 0);
