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
    std::chrono::milliseconds timeout;
    std::chrono::milliseconds left;  ///< until the deadline when that was set; max() without one
    const Log4Qt::Logger* logger;
    QString alias;
};

/// A network of scripted answers: every RestClient that is created while the object lives. Threads: any;
/// time-out, logger and alias are those last set in any of them.
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

    /// Called for each client that is set up, in the thread that does so.
    std::function<void()> onSetUp;

    using Headers = QHash<QString, QString>;
    using RestClient::setTimeout;
    void setTimeout(std::chrono::milliseconds timeout) override;
    void setTargetAlias(const QString& alias) override;
    void setDeadline(const QDeadlineTimer& deadline) override;
    void setLogger(const Log4Qt::Logger* logger) override;
    http::Response get(const QUrl& url, const QJsonDocument& body, const Headers& headers) override;
    http::Response post(const QUrl& url, const QJsonDocument& body, const Headers& headers) override;
    [[nodiscard]] int lastError() const override { return m_lastError; }

private:
    http::Response exchange(const char* method, const QUrl& url, const QJsonDocument& body,
                            const Headers& headers);
    Answer answerTo(const QUrl& url);

    // No lock for these: it would hide what the tests look for.
    std::atomic<int> m_clientsSetUp = 0;
    std::atomic<int> m_lastError = 0;
    std::atomic<std::chrono::milliseconds> m_timeout{};
    std::atomic<std::chrono::milliseconds> m_left = std::chrono::milliseconds::max();
    std::atomic<const Log4Qt::Logger*> m_logger = nullptr;
    std::mutex m_mutex;                                // guards what follows
    std::map<QString, std::vector<Answer>> m_scripts;  // the next answer is the last element
    std::vector<SentRequest> m_sent;
    QString m_alias;
};

/// A complete reply.
http::Response reply(int status, const QJsonObject& body = {});
/// No reply in time.
http::Response timedOut();
/// No reply for a fault of the network.
http::Response cutOff();
/// No reply because this side could not send the request, or broke it off.
http::Response canceledHere();
