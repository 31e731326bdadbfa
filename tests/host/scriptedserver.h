#pragma once

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

#include <QByteArray>
#include <QList>
#include <QUrl>

#include "testcertificate.h"

/// What the server sends for one request, byte by byte as given, and what it does with the connection after.
struct ScriptedReply
{
    enum class Then {
        NextRequest,
        Close,
        Reset,
        /// Sends nothing more and waits until the client closes.
        Silence,
        /// Sends a blank every few milliseconds until the client closes.
        Drip,
    };

    QByteArray bytes;
    Then then = Then::NextRequest;
};

/// A complete reply with a length.
ScriptedReply okReply(const QByteArray& body = "{}");

struct ReceivedRequest
{
    /// Request line and header lines, as they came.
    QByteArray head;
    QByteArray body;
    /// The header's line without its end, in any letter case of the name; null when there is none.
    [[nodiscard]] QByteArray line(const QByteArray& header) const;
};

/// A server on a port of its own on 127.0.0.1 that answers with bytes made up beforehand: it knows as little
/// of HTTP as is needed to tell where a request ends.
class ScriptedServer
{
public:
    /// The replies are given one after another, the last of them for every further request. With a
    /// certificate the server speaks TLS.
    explicit ScriptedServer(QList<ScriptedReply> replies, const TestCertificate* certificate = nullptr);
    explicit ScriptedServer(const ScriptedReply& reply)
        : ScriptedServer(QList<ScriptedReply>{reply})
    {
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;
    /// Closes all connections.
    ~ScriptedServer();

    [[nodiscard]] QUrl url(const QString& path = QStringLiteral("/")) const;
    [[nodiscard]] QList<ReceivedRequest> received() const;
    [[nodiscard]] int connections() const;
    /// Returns once that many requests have come in whole.
    void waitForRequests(qsizetype count) const;

private:
    class Connection;

    void acceptAll();
    void serve(Connection& connection);
    ScriptedReply takeReply(const ReceivedRequest& request);

    int m_listener;
    int m_port = 0;
    const TestCertificate* m_certificate;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_requestCame;
    QList<ScriptedReply> m_replies;
    QList<ReceivedRequest> m_received;
    std::list<std::unique_ptr<Connection>> m_connections;
    std::list<std::thread> m_servants;
    std::thread m_acceptor;
};
