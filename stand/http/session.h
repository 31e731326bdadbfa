#pragma once

#include "stand/http/peerstream.h"
#include "stand/http/service.h"

#include <array>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <memory>
#include <optional>

namespace marksim {

/// One connection from its acceptance to its end: reads requests, has the service answer them, and sends what
/// it is told to, byte for byte. Keeps itself alive while it has something to wait for.
class Session : public std::enable_shared_from_this<Session>
{
public:
    /// Without a `tls` context the connection is plain.
    Session(PeerStream::Socket socket, boost::asio::ssl::context* tls, Service& service, ConnectionInfo info);

    void run(Connect treatment);
    /// Ends the connection with RST, whatever it is doing.
    void reset();

private:
    using Error = boost::system::error_code;

    void handshake();
    void endAfterFirstBytes(void (Session::*end)());
    void readHead();
    void sendContinue();
    void readBody();
    void refuse(const Error& error);
    void noteRefused(Outcome outcome, const Error& error = {});
    void begin(Exchange exchange);
    [[nodiscard]] bool peerHasLeft();
    void sendPiece();
    [[nodiscard]] std::size_t pieceSize() const;
    void pieceSent(std::size_t size);
    void finish();
    void report(Outcome outcome);
    void closeGracefully();
    void closeAfterTimeout();
    void drain();
    void waitForPeerToClose();

    template <typename Member>
    auto then(Member member);
    template <typename Member>
    void wait(std::chrono::milliseconds delay, Member member);

    static constexpr std::size_t maxPieceBytes = 64UL * 1024;

    PeerStream m_stream;
    Service& m_service;
    ConnectionInfo m_info;
    boost::asio::steady_timer m_timer;
    boost::beast::flat_buffer m_buffer;
    std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> m_parser;
    Exchange m_exchange;
    bool m_answering = false;
    std::uint64_t m_sent = 0;
    std::array<char, maxPieceBytes> m_piece{};
};

}  // namespace marksim
