#pragma once

#include "stand/http/hostaddress.h"
#include "stand/http/service.h"

#include <QString>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <vector>

namespace marksim {

class Session;

/// A port of this machine on which a service answers. The port stays this listener's own even while it is
/// closed, so that connecting is refused and the same port opens again.
class Listener
{
public:
    /// Gives the TLS context for a kind of certificate; without one the port speaks plain HTTP.
    using TlsContexts = std::function<boost::asio::ssl::context&(const QString& certificate)>;

    /// Takes the port (0: one that the system chooses) and opens it. Throws InputError when it cannot be had.
    Listener(boost::asio::io_context& io, const HostAddress& address, std::uint16_t port, const QString& name,
             Service& service, TlsContexts tls);

    /// http://host:port or https://host:port, with the host that is handed out.
    [[nodiscard]] QString url() const;
    [[nodiscard]] std::uint16_t port() const { return m_endpoint.port(); }
    [[nodiscard]] bool isOpen() const { return m_connect == Connect::Normal; }
    [[nodiscard]] qint64 accepted() const { return m_accepted; }
    void resetAccepted() { m_accepted = 0; }

    /// Normal opens the port. Refuse and Unanswered shut it, each in its way, and reset the connections that
    /// are open. Takes none of the others.
    void setConnect(Connect connect);

private:
    void open();
    void close();
    void leaveUnanswered();
    void accept();
    void start(boost::asio::ip::tcp::socket socket);

    Service& m_service;
    TlsContexts m_tls;
    QString m_host;
    boost::asio::ip::tcp::endpoint m_endpoint;
    boost::asio::ip::tcp::acceptor m_reservation;  ///< bound, never listening
    boost::asio::ip::tcp::acceptor m_acceptor;
    boost::asio::ip::tcp::socket m_queueFiller;  ///< takes the one place for connections to be accepted
    boost::asio::steady_timer m_retry;
    std::vector<std::weak_ptr<Session>> m_sessions;
    qint64 m_accepted = 0;
    Connect m_connect = Connect::Normal;
};

}  // namespace marksim
