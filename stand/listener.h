#pragma once

#include "service.h"

#include <QString>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <vector>

namespace marksim {

class HttpSession;

/// A port of this machine on which a service answers. The port stays this listener's own even while it is
/// closed, so that connecting is refused and the same port opens again.
class Listener
{
public:
    /// Gives the TLS context for a certificate; without one the port speaks plain HTTP.
    using TlsContexts = std::function<boost::asio::ssl::context&(Certificate)>;

    /// Takes the port (0: one that the system chooses) and opens it. Throws InputError when it cannot be had.
    Listener(boost::asio::io_context& io, const std::string& address, std::uint16_t port, const QString& name,
             Service& service, TlsContexts tls);

    /// address:port, an IPv6 address in brackets.
    [[nodiscard]] std::string authority() const;
    [[nodiscard]] std::uint16_t port() const { return endpoint_.port(); }
    [[nodiscard]] bool isOpen() const { return door_ == Connect::Normal; }
    [[nodiscard]] std::uint64_t accepted() const { return accepted_; }

    /// Normal opens the port. Refuse and Unanswered shut it, each in its way, and reset the connections that
    /// are open; others do as Normal.
    void setDoor(Connect door);

private:
    void open();
    void close();
    void leaveUnanswered();
    void accept();
    void welcome(boost::asio::ip::tcp::socket socket);

    Service& service_;
    TlsContexts tls_;
    boost::asio::ip::tcp::endpoint endpoint_;
    boost::asio::ip::tcp::acceptor reservation_;  ///< bound, never listening
    boost::asio::ip::tcp::acceptor acceptor_;
    boost::asio::ip::tcp::socket plug_;  ///< fills the queue of a port that is to leave others unanswered
    boost::asio::steady_timer retry_;
    std::vector<std::weak_ptr<HttpSession>> sessions_;
    std::uint64_t accepted_ = 0;
    Connect door_ = Connect::Normal;
};

}  // namespace marksim
