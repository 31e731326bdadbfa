#include "scriptedserver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <openssl/ssl.h>

/// One socket, plain or TLS.
class ScriptedServer::Connection
{
public:
    Connection(int socket, const TestCertificate* certificate)
        : m_socket(socket)
        , m_tls(certificate != nullptr ? certificate->newServerTls(socket) : nullptr)
    {
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection()
    {
        SSL_free(m_tls);
        close(m_socket);
    }

    bool handshake() { return m_tls == nullptr || SSL_accept(m_tls) == 1; }

    /// Empty when the other side has closed.
    QByteArray read()
    {
        QByteArray bytes(65536, Qt::Uninitialized);
        const auto count = m_tls != nullptr ? SSL_read(m_tls, bytes.data(), int(bytes.size()))
                                            : recv(m_socket, bytes.data(), size_t(bytes.size()), 0);
        return bytes.left(count > 0 ? count : 0);
    }

    bool write(QByteArray bytes)
    {
        while (!bytes.isEmpty()) {
            const auto count = m_tls != nullptr
                                   ? SSL_write(m_tls, bytes.constData(), int(bytes.size()))
                                   : send(m_socket, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL);
            if (count <= 0) {
                return false;
            }
            bytes.remove(0, count);
        }
        return true;
    }

    void drip()
    {
        pollfd waiting{m_socket, POLLIN, 0};
        while (poll(&waiting, 1, 5) == 0 && write(" ")) {
        }
    }

    void endInReset() const
    {
        const linger abort{1, 0};
        setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    }

    void interrupt() const { shutdown(m_socket, SHUT_RDWR); }

private:
    int m_socket;
    SSL* m_tls;
};

ScriptedReply okReply(const QByteArray& body)
{
    return {"HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body};
}

QByteArray ReceivedRequest::line(const QByteArray& header) const
{
    for (const QByteArray& candidate : head.split('\n')) {
        if (candidate.toLower().startsWith(header.toLower() + ':')) {
            return candidate.trimmed();
        }
    }
    return {};
}

ScriptedServer::ScriptedServer(QList<ScriptedReply> replies, const TestCertificate* certificate)
    : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    , m_certificate(certificate)
    , m_replies(std::move(replies))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener, generic, length) != 0 || listen(m_listener, 16) != 0 ||
        getsockname(m_listener, generic, &length) != 0) {
        qFatal("The test server cannot listen");
    }
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptAll(); });
}

ScriptedServer::~ScriptedServer()
{
    shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& connection : m_connections) {
            connection->interrupt();
        }
    }
    for (std::thread& servant : m_servants) {
        servant.join();
    }
    close(m_listener);
}

QUrl ScriptedServer::url(const QString& path) const
{
    const QString scheme = m_certificate != nullptr ? QStringLiteral("https") : QStringLiteral("http");
    return QUrl(QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme, QString::number(m_port), path));
}

QList<ReceivedRequest> ScriptedServer::received() const
{
    const std::lock_guard lock(m_mutex);
    return m_received;
}

int ScriptedServer::connections() const
{
    const std::lock_guard lock(m_mutex);
    return int(m_servants.size());
}

void ScriptedServer::waitForRequests(qsizetype count) const
{
    std::unique_lock lock(m_mutex);
    m_requestCame.wait(lock, [&] { return m_received.size() >= count; });
}

void ScriptedServer::acceptAll()
{
    // OpenSSL writes without MSG_NOSIGNAL. Only the server's own threads are spared: the client must not need
    // it.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    for (;;) {
        const int socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) {
            return;
        }
        const std::lock_guard lock(m_mutex);
        const auto connection =
            m_connections.insert(m_connections.end(), std::make_unique<Connection>(socket, m_certificate));
        m_servants.emplace_back([this, connection] {
            serve(**connection);
            const std::lock_guard ended(m_mutex);
            m_connections.erase(connection);
        });
    }
}

void ScriptedServer::serve(Connection& connection)
{
    using Then = ScriptedReply::Then;
    if (!connection.handshake()) {
        return;
    }
    QByteArray input;
    ScriptedReply reply;
    while (reply.then == Then::NextRequest) {
        ReceivedRequest request;
        qsizetype missing = 1;
        while (missing > 0) {
            const qsizetype headEnd = input.indexOf("\r\n\r\n") + 4;
            if (headEnd >= 4) {
                request.head = input.left(headEnd);
                missing =
                    headEnd + request.line("Content-Length").mid(15).trimmed().toLongLong() - input.size();
            }
            if (missing > 0) {
                const QByteArray more = connection.read();
                if (more.isEmpty()) {
                    return;
                }
                input += more;
            }
        }
        request.body = input.mid(request.head.size());
        input.clear();
        reply = takeReply(request);
        if (!connection.write(reply.bytes)) {
            return;
        }
    }
    if (reply.then == Then::Reset) {
        connection.endInReset();
    } else if (reply.then == Then::Drip) {
        connection.drip();
    } else if (reply.then == Then::Silence) {
        connection.read();
    }
}

ScriptedReply ScriptedServer::takeReply(const ReceivedRequest& request)
{
    const std::lock_guard lock(m_mutex);
    m_received.append(request);
    m_requestCame.notify_all();
    return m_replies.size() > 1 ? m_replies.takeFirst() : m_replies.first();
}
