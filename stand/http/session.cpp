#include "stand/http/session.h"

#include <algorithm>
#include <boost/asio/write.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>

namespace marksim {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using namespace std::chrono_literals;

namespace {

constexpr std::uint32_t maxHeadBytes = 256 * 1024;
constexpr auto closeTimeout = 1s;

}  // namespace

Session::Session(PeerStream::Socket socket, asio::ssl::context* tls, Service& service, ConnectionInfo info)
    : m_stream(std::move(socket), tls)
    , m_service(service)
    , m_info(info)
    , m_timer(m_stream.get_executor())
{
    Error ignored;
    m_stream.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
}

/// A completion handler that runs `member(session, size)` on success and gives the exchange up on failure.
template <typename Member>
auto Session::then(Member member)
{
    return [self = shared_from_this(), member](const Error& error, std::size_t size = 0) {
        if (error) {
            self->report(Outcome::PeerLeft);
        } else {
            member(*self, size);
        }
    };
}

template <typename Member>
void Session::wait(std::chrono::milliseconds delay, Member member)
{
    m_timer.expires_after(delay);
    m_timer.async_wait(then(member));
}

void Session::run(Connect treatment)
{
    switch (treatment) {
    case Connect::Normal:
    case Connect::Refuse:
    case Connect::Unanswered:
        return m_stream.tls() ? handshake() : readHead();
    case Connect::Reset:
        noteRefused(Outcome::Reset);
        return endAfterFirstBytes(&Session::reset);
    case Connect::Close:
        noteRefused(Outcome::Closed);
        return endAfterFirstBytes(&Session::drain);
    case Connect::Silent:
        noteRefused(Outcome::Stalled);
        return waitForPeerToClose();
    }
}

void Session::reset()
{
    m_timer.cancel();
    m_stream.reset();
}

void Session::handshake()
{
    m_stream.tls()->async_handshake(asio::ssl::stream_base::server,
                                    [self = shared_from_this()](const Error& error) {
                                        if (!error) {
                                            return self->readHead();
                                        }
                                        if (error != asio::error::operation_aborted) {
                                            self->noteRefused(Outcome::HandshakeFailed, error);
                                        }
                                    });
}

void Session::noteRefused(Outcome outcome, const Error& error)
{
    m_service.onRefused(m_info, outcome, error ? QString::fromStdString(error.message()) : QString());
}

/// The first bytes tell that the peer takes the connection for established: ended earlier, it would look to
/// the peer now like this, now like a connection that never came about.
void Session::endAfterFirstBytes(void (Session::*end)())
{
    m_stream.socket().async_read_some(asio::buffer(m_piece),
                                      then([end](Session& self, std::size_t) { (self.*end)(); }));
}

void Session::readHead()
{
    m_parser.emplace();
    m_parser->header_limit(maxHeadBytes);
    m_parser->body_limit(m_service.maxBodyBytes());
    http::async_read_header(
        m_stream, m_buffer, *m_parser, [self = shared_from_this()](const Error& error, std::size_t) {
            if (error) {
                return self->refuse(error);
            }
            const auto expect = self->m_parser->get()[http::field::expect];
            return beast::iequals(expect, "100-continue") ? self->sendContinue() : self->readBody();
        });
}

void Session::sendContinue()
{
    static constexpr std::string_view text = "HTTP/1.1 100 Continue\r\n\r\n";
    asio::async_write(m_stream, asio::buffer(text),
                      then([](Session& self, std::size_t) { self.readBody(); }));
}

void Session::readBody()
{
    http::async_read(
        m_stream, m_buffer, *m_parser, [self = shared_from_this()](const Error& error, std::size_t) {
            if (error) {
                return self->refuse(error);
            }
            self->m_service.serve(self->m_parser->release(), self->m_info,
                                  [self](Exchange exchange) { self->begin(std::move(exchange)); });
        });
}

/// The peer has left, or what it sends is no request that can be read to its end.
void Session::refuse(const Error& error)
{
    const bool unreadable = error.category() == http::make_error_code(http::error::bad_method).category();
    if (!unreadable || error == http::error::end_of_stream || error == http::error::partial_message) {
        return m_stream.close();
    }
    const bool tooLarge = error == http::error::body_limit || error == http::error::header_limit;
    begin(m_service.refuse(tooLarge ? 413 : 400, QString::fromStdString(error.message())));
}

void Session::begin(Exchange exchange)
{
    m_parser.reset();
    m_exchange = std::move(exchange);
    m_sent = 0;
    m_answering = true;
    if (m_exchange.delay == 0ms) {
        return sendPiece();
    }
    wait(m_exchange.delay, [](Session& self, std::size_t) { self.sendPiece(); });
}

std::size_t Session::pieceSize() const
{
    std::uint64_t size = maxPieceBytes;
    if (m_exchange.dripBytes != 0) {
        const auto head = m_exchange.wire.head.size();
        size = std::min(size, m_sent < head ? head - m_sent : m_exchange.dripBytes);
    }
    return static_cast<std::size_t>(std::min(size, m_exchange.limit - m_sent));
}

/// A peer that gave up during a delay must not be counted as answered.
bool Session::peerHasLeft()
{
    char byte = 0;
    Error error;
    m_stream.socket().non_blocking(true, error);
    m_stream.socket().receive(asio::buffer(&byte, 1), asio::socket_base::message_peek, error);
    return error && error != asio::error::would_block;
}

void Session::sendPiece()
{
    if (m_sent == m_exchange.limit) {
        return finish();
    }
    if (m_sent == 0 && peerHasLeft()) {
        report(Outcome::PeerLeft);
        return m_stream.close();
    }
    const auto size = m_exchange.wire.read(m_sent, m_piece.data(), pieceSize());
    asio::async_write(m_stream, asio::buffer(m_piece.data(), size),
                      then([](Session& self, std::size_t written) { self.pieceSent(written); }));
}

void Session::pieceSent(std::size_t size)
{
    m_sent += size;
    if (m_exchange.dripBytes == 0 || m_sent == m_exchange.limit) {
        return sendPiece();
    }
    wait(m_exchange.dripEvery, [](Session& self, std::size_t) { self.sendPiece(); });
}

void Session::finish()
{
    const auto ending = m_exchange.ending;
    report(m_exchange.outcome);
    switch (ending) {
    case Ending::KeepOpen:
        return readHead();
    case Ending::Close:
        return closeGracefully();
    case Ending::Reset:
        return m_stream.reset();
    case Ending::Stall:
        return waitForPeerToClose();
    }
}

void Session::report(Outcome outcome)
{
    if (!m_answering) {
        return;
    }
    m_answering = false;
    m_service.onEnd(m_exchange.id, m_sent > 0 ? m_exchange.status : 0, outcome);
    m_exchange = {};
}

void Session::closeGracefully()
{
    if (!m_stream.tls()) {
        return drain();
    }
    closeAfterTimeout();
    m_stream.tls()->async_shutdown([self = shared_from_this()](const Error&) {
        self->m_timer.cancel();
        self->m_stream.close();
    });
}

void Session::closeAfterTimeout()
{
    wait(closeTimeout, [](Session& self, std::size_t) { self.m_stream.close(); });
}

/// Ends the sending side with FIN and reads on for a moment, so that bytes still on their way do not turn the
/// end into a reset.
void Session::drain()
{
    Error ignored;
    m_stream.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    closeAfterTimeout();
    waitForPeerToClose();
}

void Session::waitForPeerToClose()
{
    m_stream.socket().async_read_some(asio::buffer(m_piece),
                                      [self = shared_from_this()](const Error& error, std::size_t) {
                                          if (!error) {
                                              return self->waitForPeerToClose();
                                          }
                                          self->m_timer.cancel();
                                          self->m_stream.close();
                                      });
}

}  // namespace marksim
