#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

namespace boost::asio::ssl {
class context;
}

/// What the server sends for one request, byte by byte as given, and what it does with the connection after.
struct ScriptedReply
{
    enum class Then {
        NextRequest,
        Close,
        Reset,
        /// Sends nothing more and waits until the client closes.
        Silence,
    };
    /// What the client meets that connects for this reply, when it is the first one of its connection.
    enum class Door {
        Open,
        /// The reply is to the first bytes that come, be they a request or a TLS handshake's.
        FirstBytes,
        /// Connecting is refused from here on.
        Shut,
        /// Attempts to connect are left without an answer from here on.
        Full,
    };

    QByteArray bytes;
    Then then = Then::NextRequest;
    Door door = Door::Open;
    /// With which the connection is held; none for a plain one.
    boost::asio::ssl::context* tls = nullptr;
    /// When not zero, the bytes are sent one by one with this pause between them.
    std::chrono::milliseconds pace{};
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
/// of HTTP as is needed to tell where a request ends. It serves one connection after another.
class ScriptedServer
{
public:
    /// The replies are given one after another, the last of them for every further request.
    ScriptedServer(std::initializer_list<ScriptedReply> replies);
    explicit ScriptedServer(const QList<ScriptedReply>& replies);
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;
    /// Closes its connection.
    ~ScriptedServer();

    [[nodiscard]] QUrl url(const QString& path = "/") const;
    [[nodiscard]] QList<ReceivedRequest> received() const;
    [[nodiscard]] int connections() const;
    /// Returns once that many requests have come in whole.
    void waitForRequests(qsizetype count) const;

private:
    using Socket = boost::asio::ip::tcp::socket;

    void serveAll();
    template <class Stream>
    void serve(Socket& socket, Stream& stream);
    void serveConnection(Socket& socket, const ScriptedReply& reply);
    [[nodiscard]] std::optional<ScriptedReply> nextReply();
    ScriptedReply takeReply(const ReceivedRequest& request);
    void arrangeDoor();

    boost::asio::io_context m_io;
    boost::asio::ip::tcp::acceptor m_listener;
    boost::asio::ip::tcp::endpoint m_endpoint;
    std::vector<Socket> m_fillers;  // of the queue behind a full door

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_requestCame;
    QList<ScriptedReply> m_replies;
    QList<ReceivedRequest> m_received;
    int m_connections = 0;
    int m_socket = -1;  // of the connection being served
    bool m_stopping = false;
    std::thread m_servant;
};
