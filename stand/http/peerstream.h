#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <optional>
#include <utility>

namespace marksim {

/// A connection to a peer, plain or over TLS, under one type.
class PeerStream
{
public:
    using Socket = boost::asio::ip::tcp::socket;
    using executor_type = Socket::executor_type;

    /// Without a `tls` context the connection is plain.
    PeerStream(Socket socket, boost::asio::ssl::context* tls)
        : m_socket(std::move(socket))
    {
        if (tls) {
            m_tls.emplace(m_socket, *tls);
        }
    }

    [[nodiscard]] executor_type get_executor() { return m_socket.get_executor(); }
    [[nodiscard]] Socket& socket() { return m_socket; }
    /// Null when the connection is plain.
    [[nodiscard]] auto* tls() { return m_tls ? &*m_tls : nullptr; }

    template <typename Buffers, typename Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler)
    {
        onStream([&](auto& stream) { stream.async_read_some(buffers, std::forward<Handler>(handler)); });
    }

    template <typename Buffers, typename Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler)
    {
        onStream([&](auto& stream) { stream.async_write_some(buffers, std::forward<Handler>(handler)); });
    }

    void close()
    {
        boost::system::error_code ignored;
        m_socket.close(ignored);
    }

    /// Ends the connection with RST.
    void reset()
    {
        boost::system::error_code ignored;
        m_socket.set_option(boost::asio::socket_base::linger(true, 0), ignored);
        close();
    }

private:
    template <typename Action>
    void onStream(Action action)
    {
        if (m_tls) {
            action(*m_tls);
        } else {
            action(m_socket);
        }
    }

    Socket m_socket;
    std::optional<boost::asio::ssl::stream<Socket&>> m_tls;
};

}  // namespace marksim
