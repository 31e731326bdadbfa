#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/socket_base.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <memory>
#include <utility>

namespace marksim {

/// A connection to a peer, plain or over TLS, under one type.
class PeerStream
{
public:
    using executor_type = boost::asio::ip::tcp::socket::executor_type;

    /// Without a `tls` context the connection is plain.
    PeerStream(boost::asio::ip::tcp::socket socket, boost::asio::ssl::context* tls)
        : socket_(std::move(socket))
    {
        if (tls)
            tls_ = std::make_unique<Tls>(socket_, *tls);
    }

    [[nodiscard]] executor_type get_executor() { return socket_.get_executor(); }
    [[nodiscard]] boost::asio::ip::tcp::socket& socket() { return socket_; }
    [[nodiscard]] bool isTls() const { return tls_ != nullptr; }

    template <typename Handler>
    void handshake(Handler&& handler)
    {
        tls_->async_handshake(boost::asio::ssl::stream_base::server, std::forward<Handler>(handler));
    }

    /// Says goodbye over TLS; the handler runs when the peer has answered.
    template <typename Handler>
    void sayGoodbye(Handler&& handler)
    {
        tls_->async_shutdown(std::forward<Handler>(handler));
    }

    template <typename Buffers, typename Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler)
    {
        if (tls_)
            tls_->async_read_some(buffers, std::forward<Handler>(handler));
        else
            socket_.async_read_some(buffers, std::forward<Handler>(handler));
    }

    template <typename Buffers, typename Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler)
    {
        if (tls_)
            tls_->async_write_some(buffers, std::forward<Handler>(handler));
        else
            socket_.async_write_some(buffers, std::forward<Handler>(handler));
    }

    void close()
    {
        boost::system::error_code ignored;
        socket_.close(ignored);
    }

    /// Ends the connection with RST.
    void reset()
    {
        boost::system::error_code ignored;
        socket_.set_option(boost::asio::socket_base::linger(true, 0), ignored);
        socket_.close(ignored);
    }

private:
    using Tls = boost::asio::ssl::stream<boost::asio::ip::tcp::socket&>;

    boost::asio::ip::tcp::socket socket_;
    std::unique_ptr<Tls> tls_;
};

}  // namespace marksim
