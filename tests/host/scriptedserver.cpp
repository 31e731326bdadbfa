#include "scriptedserver.h"

#include <optional>

#include <poll.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

namespace asio = boost::asio;
using asio::ip::tcp;
using Then = ScriptedReply::Then;

namespace {

/// Nothing when the other side has closed.
std::optional<ReceivedRequest> readRequest(tcp::socket& socket)
{
    QByteArray input;
    QByteArray bytes(65536, Qt::Uninitialized);
    boost::system::error_code error;
    while (const auto count = socket.read_some(asio::buffer(bytes.data(), size_t(bytes.size())), error)) {
        input.append(bytes.constData(), qsizetype(count));
        const qsizetype headEnd = input.indexOf("\r\n\r\n") + 4;
        if (headEnd >= 4) {
            const ReceivedRequest request{input.left(headEnd), input.mid(headEnd)};
            if (request.body.size() >= request.line("Content-Length").mid(15).trimmed().toLongLong()) {
                return request;
            }
        }
    }
    return {};
}

bool write(tcp::socket& socket, const QByteArray& bytes)
{
    boost::system::error_code error;
    asio::write(socket, asio::buffer(bytes.constData(), size_t(bytes.size())), error);
    return !error;
}

}  // namespace

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

ScriptedServer::ScriptedServer(std::initializer_list<ScriptedReply> replies)
    : m_listener(m_io, tcp::endpoint(asio::ip::address_v4::loopback(), 0))
    , m_replies(replies)
    , m_servant([this] { serveAll(); })
{
}

ScriptedServer::~ScriptedServer()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        shutdown(m_listener.native_handle(), SHUT_RDWR);
        shutdown(m_socket, SHUT_RDWR);
    }
    m_servant.join();
}

QUrl ScriptedServer::url(const QString& path) const
{
    return QUrl(QString("http://127.0.0.1:%1").arg(m_listener.local_endpoint().port()) + path);
}

QList<ReceivedRequest> ScriptedServer::received() const
{
    const std::lock_guard lock(m_mutex);
    return m_received;
}

int ScriptedServer::connections() const
{
    const std::lock_guard lock(m_mutex);
    return m_connections;
}

void ScriptedServer::waitForRequests(qsizetype count) const
{
    std::unique_lock lock(m_mutex);
    m_requestCame.wait(lock, [&] { return m_received.size() >= count; });
}

void ScriptedServer::serveAll()
{
    for (;;) {
        Socket socket(m_io);
        boost::system::error_code error;
        m_listener.accept(socket, error);
        std::unique_lock lock(m_mutex);
        if (error || m_stopping) {
            return;
        }
        ++m_connections;
        m_socket = socket.native_handle();
        lock.unlock();
        serve(socket);
        lock.lock();
        m_socket = -1;
    }
}

void ScriptedServer::serve(Socket& socket)
{
    ScriptedReply reply;
    while (reply.then == Then::NextRequest) {
        const auto request = readRequest(socket);
        if (!request) {
            return;
        }
        reply = takeReply(*request);
        if (!write(socket, reply.bytes)) {
            return;
        }
    }
    if (reply.then == Then::Drip) {
        pollfd closing{socket.native_handle(), POLLIN, 0};
        while (poll(&closing, 1, 5) == 0 && write(socket, " ")) {
        }
    } else if (reply.then == Then::Silence) {
        (void)readRequest(socket);
    }
}

ScriptedReply ScriptedServer::takeReply(const ReceivedRequest& request)
{
    const std::lock_guard lock(m_mutex);
    m_received.append(request);
    m_requestCame.notify_all();
    return m_replies.size() > 1 ? m_replies.takeFirst() : m_replies.first();
}
