#include "httpsession.h"

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

constexpr std::uint32_t largestHead = 256 * 1024;
constexpr auto goodbyePatience = 1s;

Request toRequest(const http::request<http::string_body>& message)
{
    Request request;
    request.verb = std::string(message.method_string());
    request.setTarget(std::string(message.target()));
    for (const auto& field : message)
        request.headers.emplace_back(field.name_string(), field.value());
    request.body = message.body();
    request.keepAlive = message.keep_alive();
    return request;
}

}  // namespace

HttpSession::HttpSession(asio::ip::tcp::socket socket, asio::ssl::context* tls, Service& service,
                         ConnectionInfo info)
    : stream_(std::move(socket), tls)
    , service_(service)
    , info_(info)
    , timer_(stream_.get_executor())
{
    Error ignored;
    stream_.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
}

/// A completion handler that runs `member(size)` on success and gives the exchange up on failure.
template <typename Member>
auto HttpSession::then(Member member)
{
    return [self = shared_from_this(), member](const Error& error, std::size_t size = 0) {
        if (error)
            self->finishWith(Outcome::PeerLeft);
        else
            member(*self, size);
    };
}

void HttpSession::run(Connect treatment)
{
    switch (treatment) {
    case Connect::Normal:
    case Connect::Refuse:
    case Connect::Unanswered:
        return stream_.isTls() ? handshake() : readHead();
    case Connect::Reset:
        return endAfterFirstBytes(&HttpSession::drop);
    case Connect::Close:
        return endAfterFirstBytes(&HttpSession::drain);
    case Connect::Silent:
        return waitForPeerToLeave();
    }
}

void HttpSession::drop()
{
    timer_.cancel();
    stream_.reset();
}

void HttpSession::handshake()
{
    stream_.handshake([self = shared_from_this()](const Error& error) {
        if (!error)
            self->readHead();
    });
}

/// The first bytes tell that the peer takes the connection for established: ended earlier, it would look to
/// the peer now like this, now like a connection that never came about.
void HttpSession::endAfterFirstBytes(void (HttpSession::*end)())
{
    stream_.socket().async_read_some(asio::buffer(piece_),
                                     then([end](HttpSession& self, std::size_t) { (self.*end)(); }));
}

void HttpSession::readHead()
{
    parser_.emplace();
    parser_->header_limit(largestHead);
    parser_->body_limit(service_.largestBody());
    http::async_read_header(
        stream_, buffer_, *parser_, [self = shared_from_this()](const Error& error, std::size_t) {
            if (error)
                return self->refuse(error);
            const auto expect = self->parser_->get()[http::field::expect];
            return beast::iequals(expect, "100-continue") ? self->promiseToReadOn() : self->readBody();
        });
}

void HttpSession::promiseToReadOn()
{
    static constexpr std::string_view promise = "HTTP/1.1 100 Continue\r\n\r\n";
    asio::async_write(stream_, asio::buffer(promise),
                      then([](HttpSession& self, std::size_t) { self.readBody(); }));
}

void HttpSession::readBody()
{
    http::async_read(stream_, buffer_, *parser_,
                     [self = shared_from_this()](const Error& error, std::size_t) {
                         return error ? self->refuse(error) : self->serve();
                     });
}

/// The peer has left, or what it sends is no request that can be read to its end.
void HttpSession::refuse(const Error& error)
{
    const bool unreadable = error.category() == http::make_error_code(http::error::bad_method).category();
    if (!unreadable || error == http::error::end_of_stream || error == http::error::partial_message)
        return stream_.close();
    const bool tooLarge = error == http::error::body_limit || error == http::error::header_limit;
    Request request;
    request.keepAlive = false;
    begin(planExchange(service_.refusal(tooLarge ? 413 : 400, QString::fromStdString(error.message())), {},
                       request));
}

void HttpSession::serve()
{
    begin(service_.serve(toRequest(parser_->get()), info_));
}

void HttpSession::begin(Exchange exchange)
{
    parser_.reset();
    exchange_ = std::move(exchange);
    sent_ = 0;
    answering_ = true;
    if (exchange_.delay == 0ms)
        return sendPiece();
    timer_.expires_after(exchange_.delay);
    timer_.async_wait(then([](HttpSession& self, std::size_t) { self.sendPiece(); }));
}

std::size_t HttpSession::pieceSize() const
{
    auto most = static_cast<std::uint64_t>(largestPiece);
    if (exchange_.drip) {
        const auto headLeft = exchange_.wire.headSize() - std::min(exchange_.wire.headSize(), sent_);
        most = std::min<std::uint64_t>(most, headLeft > 0 ? headLeft : exchange_.drip->bytes);
    }
    return static_cast<std::size_t>(std::min(most, exchange_.limit - sent_));
}

/// A peer that gave up during a delay must not be counted as answered.
bool HttpSession::peerHasLeft()
{
    char byte = 0;
    Error error;
    stream_.socket().non_blocking(true, error);
    stream_.socket().receive(asio::buffer(&byte, 1), asio::socket_base::message_peek, error);
    return error && error != asio::error::would_block;
}

void HttpSession::sendPiece()
{
    if (sent_ == exchange_.limit)
        return finish();
    if (sent_ == 0 && peerHasLeft()) {
        finishWith(Outcome::PeerLeft);
        return stream_.close();
    }
    const auto size = exchange_.wire.read(sent_, piece_.data(), pieceSize());
    asio::async_write(stream_, asio::buffer(piece_.data(), size),
                      then([](HttpSession& self, std::size_t written) { self.pieceSent(written); }));
}

void HttpSession::pieceSent(std::size_t size)
{
    sent_ += size;
    if (!exchange_.drip || sent_ == exchange_.limit)
        return sendPiece();
    timer_.expires_after(exchange_.drip->every);
    timer_.async_wait(then([](HttpSession& self, std::size_t) { self.sendPiece(); }));
}

void HttpSession::finish()
{
    const auto ending = exchange_.ending;
    if (ending == Ending::Stall)
        return waitForPeerToLeave();
    finishWith(exchange_.outcome);
    if (ending == Ending::KeepOpen)
        return readHead();
    return ending == Ending::Reset ? stream_.reset() : closeGracefully();
}

void HttpSession::finishWith(Outcome outcome)
{
    if (!answering_)
        return;
    answering_ = false;
    service_.ended(exchange_.id, sent_ > 0 ? exchange_.status : 0, outcome);
    exchange_ = {};
}

void HttpSession::closeGracefully()
{
    if (!stream_.isTls())
        return drain();
    timer_.expires_after(goodbyePatience);
    timer_.async_wait([self = shared_from_this()](const Error& error) {
        if (!error)
            self->stream_.close();
    });
    stream_.sayGoodbye([self = shared_from_this()](const Error&) {
        self->timer_.cancel();
        self->stream_.close();
    });
}

/// Ends the sending side with FIN and reads on for a moment, so that bytes still on their way do not turn the
/// end into a reset.
void HttpSession::drain()
{
    Error ignored;
    stream_.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    timer_.expires_after(goodbyePatience);
    timer_.async_wait([self = shared_from_this()](const Error& error) {
        if (!error)
            self->stream_.close();
    });
    waitForPeerToLeave();
}

void HttpSession::waitForPeerToLeave()
{
    if (answering_ && exchange_.outcome == Outcome::Stalled)
        finishWith(Outcome::Stalled);
    stream_.socket().async_read_some(asio::buffer(piece_),
                                     [self = shared_from_this()](const Error& error, std::size_t) {
                                         if (!error)
                                             return self->waitForPeerToLeave();
                                         self->timer_.cancel();
                                         self->stream_.close();
                                     });
}

}  // namespace marksim
