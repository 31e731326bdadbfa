#pragma once

#include "peerstream.h"
#include "service.h"

#include <array>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>
#include <optional>

namespace marksim {

/// One connection from its acceptance to its end: reads requests, has the service answer them, and sends what
/// it is told to, byte for byte. Keeps itself alive while it has something to wait for.
class HttpSession : public std::enable_shared_from_this<HttpSession>
{
public:
    HttpSession(boost::asio::ip::tcp::socket socket, boost::asio::ssl::context* tls, Service& service,
                ConnectionInfo info);

    void run(Connect treatment);
    /// Ends the connection with RST, whatever it is doing.
    void drop();

private:
    using Error = boost::system::error_code;

    void handshake();
    void endAfterFirstBytes(void (HttpSession::*end)());
    void readHead();
    void readBody();
    void promiseToReadOn();
    void refuse(const Error& error);
    void serve();
    void begin(Exchange exchange);
    [[nodiscard]] bool peerHasLeft();
    void sendPiece();
    [[nodiscard]] std::size_t pieceSize() const;
    void pieceSent(std::size_t size);
    void finish();
    void finishWith(Outcome outcome);
    void closeGracefully();
    void drain();
    void waitForPeerToLeave();

    template <typename Member>
    auto then(Member member);

    static constexpr std::size_t largestPiece = 64UL * 1024;

    PeerStream stream_;
    Service& service_;
    ConnectionInfo info_;
    boost::asio::steady_timer timer_;
    boost::beast::flat_buffer buffer_;
    std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> parser_;
    Exchange exchange_;
    bool answering_ = false;
    std::uint64_t sent_ = 0;
    std::array<char, largestPiece> piece_{};
};

}  // namespace marksim
