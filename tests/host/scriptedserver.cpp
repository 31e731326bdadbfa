#include "scriptedserver.h"

#include <algorithm>

#include <boost/asio/buffer.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>

namespace asio = boost::asio;
using asio::ip::tcp;
using Then = ScriptedReply::Then;
using Door = ScriptedReply::Door;

namespace {

/// Nothing when the other side has closed.
template <class Stream>
std::optional<ReceivedRequest> readRequest(Stream& stream)
{
    QByteArray input;
    QByteArray bytes(65536, Qt::Uninitialized);
    boost::system::error_code error;
    while (const auto count = stream.read_some(asio::buffer(bytes.data(), size_t(bytes.size())), error)) {
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

template <class Stream>
bool write(Stream& stream, const QByteArray& bytes)
{
    boost::system::error_code error;
    asio::write(stream, asio::buffer(bytes.constData(), size_t(bytes.size())), error);
    return !error;
}

template <class Stream>
bool write(Stream& stream, const ScriptedReply& reply)
{
    if (reply.pace == std::chrono::milliseconds::zero()) {
        return write(stream, reply.bytes);
    }
    return std::all_of(reply.bytes.begin(), reply.bytes.end(), [&](char byte) {
        std::this_thread::sleep_for(reply.pace);
        return write(stream, QByteArray(1, byte));
    });
}

/// What follows the last reply of a connection.
template <class Stream>
void finish(tcp::socket& socket, Stream& stream, Then then)
{
    if (then == Then::Reset) {
        socket.set_option(asio::socket_base::linger(true, 0));
    } else if (then == Then::Silence) {
        (void)readRequest(stream);
    }
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
    : ScriptedServer(QList<ScriptedReply>(replies))
{
}

ScriptedServer::ScriptedServer(const QList<ScriptedReply>& replies)
    : m_listener(m_io, tcp::endpoint(asio::ip::address_v4::loopback(), 0))
    , m_endpoint(m_listener.local_endpoint())
    , m_replies(replies)
{
    arrangeDoor();
    m_servant = std::thread([this] { serveAll(); });
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
    return QUrl(QString("http://127.0.0.1:%1").arg(m_endpoint.port()) + path);
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
    while (const auto reply = nextReply()) {
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
        serveConnection(socket, *reply);
        lock.lock();
        m_socket = -1;
        socket.close(error);  // its destructor would not reset the connection
    }
}

/// What is there for the next connection; nothing when there will not be any.
std::optional<ScriptedReply> ScriptedServer::nextReply()
{
    const std::lock_guard lock(m_mutex);
    const ScriptedReply& reply = m_replies.first();
    const bool isOpen = reply.door == Door::Open || reply.door == Door::FirstBytes;
    return isOpen ? std::optional(reply) : std::nullopt;
}

void ScriptedServer::serveConnection(Socket& socket, const ScriptedReply& reply)
{
    if (reply.door == Door::FirstBytes) {
        boost::system::error_code error;
        QByteArray bytes(65536, Qt::Uninitialized);
        (void)socket.read_some(asio::buffer(bytes.data(), size_t(bytes.size())), error);
        if (write(socket, reply)) {
            finish(socket, socket, reply.then);
        }
    } else if (reply.tls != nullptr) {
        asio::ssl::stream<Socket&> encrypted(socket, *reply.tls);
        boost::system::error_code error;
        encrypted.handshake(asio::ssl::stream_base::server, error);
        if (!error) {
            serve(socket, encrypted);
        }
    } else {
        serve(socket, socket);
    }
}

template <class Stream>
void ScriptedServer::serve(Socket& socket, Stream& stream)
{
    ScriptedReply reply;
    while (reply.then == Then::NextRequest) {
        const auto request = readRequest(stream);
        if (!request) {
            return;
        }
        reply = takeReply(*request);
        if (!write(stream, reply)) {
            return;
        }
    }
    finish(socket, stream, reply.then);
}

ScriptedReply ScriptedServer::takeReply(const ReceivedRequest& request)
{
    const std::lock_guard lock(m_mutex);
    m_received.append(request);
    m_requestCame.notify_all();
    if (m_replies.size() == 1) {
        return m_replies.first();
    }
    const ScriptedReply reply = m_replies.takeFirst();
    arrangeDoor();
    return reply;
}

/// Before the reply goes out that comes before the one behind a closed door.
void ScriptedServer::arrangeDoor()
{
    boost::system::error_code ignored;
    if (m_replies.first().door == Door::Shut) {
        m_listener.close(ignored);
    } else if (m_replies.first().door == Door::Full) {
        m_listener.listen(0, ignored);
        for (int i = 0; i < 2; ++i) {
            m_fillers.emplace_back(m_io, tcp::v4());
            m_fillers.back().non_blocking(true);
            (void)connect(m_fillers.back().native_handle(), m_endpoint.data(), socklen_t(m_endpoint.size()));
        }
    }
}
