#pragma once

#include <csignal>
#include <functional>
#include <optional>

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryFile>

#include "tests/support/childprocess.h"
#include "tests/support/httpclient.h"

/// A marksim of its own for one test: started with ports that the system chooses, ended with the object.
/// The test fails when it ends before that, or ends badly.
class MarkSim
{
public:
    /// Throws std::runtime_error, with what marksim wrote, when it does not come up.
    explicit MarkSim(const QStringList& arguments = {}, const QJsonObject& scenario = {});
    /// One that runs already and outlives the object, by its ready line.
    explicit MarkSim(QJsonObject ready);
    /// Starts one that ends with this process, and gives its ready line. Not by QProcess: its child shares
    /// memory with the process for a while, which ThreadSanitizer loses track over.
    [[nodiscard]] static QJsonObject startApart(const std::string& arguments = {});
    ~MarkSim();
    MarkSim(const MarkSim&) = delete;
    MarkSim& operator=(const MarkSim&) = delete;

    /// The line that it printed when it was ready.
    [[nodiscard]] const QJsonObject& ready() const { return m_ready; }
    /// URL of "operator-1", "site-2", "module-1"...
    [[nodiscard]] QString url(const QString& server) const;
    [[nodiscard]] QStringList operatorUrls() const;
    [[nodiscard]] QString key() const { return m_ready["keys"].toArray().first().toString(); }
    [[nodiscard]] QJsonObject module(int number = 1) const;

    /// How a server ("site-1") or a group ("sites") behaves from now on: one behaviour or an array of them;
    /// an empty array makes it behave normally.
    void behave(const QString& server, const QJsonValue& behaviours) const;
    void behave(const QString& server, const char* json) const;
    /// The requests that a server, or any, has had to one method, or any, in the order in which they came.
    [[nodiscard]] QList<QJsonObject> requests(const QString& server = {}, const QString& method = {}) const;
    void forgetRequests() const;

    /// One exchange with the admin port, whatever comes of it.
    HttpReply ask(const char* verb, const QString& path, const QByteArray& body = {}) const;
    /// The same; throws std::runtime_error unless it is answered with 200.
    QJsonValue admin(const char* verb, const QString& path, const QByteArray& body = {}) const;

    /// Ends it before the object does.
    ProcessOutcome end(int signal = SIGTERM);

private:
    QTemporaryFile m_scenario;
    std::optional<ChildProcess> m_process;
    QJsonObject m_ready;
    HttpClient m_client;
    bool m_ended = false;
};

[[nodiscard]] QByteArray toJson(const QJsonValue& value);

/// Waits until the condition holds; false when it does not hold for too long.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);
