#include "stand/http/listener.h"

#include "stand/http/session.h"
#include "stand/scenario/schema.h"

#include <spdlog/spdlog.h>

namespace marksim {

namespace asio = boost::asio;
using asio::ip::tcp;
using namespace Qt::StringLiterals;

namespace {

void bindTo(tcp::acceptor& acceptor, const tcp::endpoint& endpoint, bool share = true)
{
    acceptor.open(endpoint.protocol());
    acceptor.set_option(tcp::acceptor::reuse_address(share));
    acceptor.bind(endpoint);
}

std::uint64_t nextConnectionId()
{
    static std::uint64_t last = 0;
    return ++last;
}

}  // namespace

Listener::Listener(asio::io_context& io, const HostAddress& address, std::uint16_t port, const QString& name,
                   Service& service, TlsContexts tls)
    : m_service(service)
    , m_tls(std::move(tls))
    , m_host(QString::fromStdString(address.host))
    , m_endpoint(asio::ip::make_address(address.bind), port)
    , m_reservation(io)
    , m_acceptor(io)
    , m_queueFiller(io)
    , m_retry(io)
{
    try {
        // A port that the system is to choose is bound without sharing first, or the system may choose one
        // that another process has reserved in the same way.
        bindTo(m_reservation, m_endpoint, port != 0);
        m_reservation.set_option(tcp::acceptor::reuse_address(true));
        m_endpoint = m_reservation.local_endpoint();
        open();
    } catch (const boost::system::system_error& error) {
        throw InputError(u"%1: port %2 on %3 cannot be had (%4); choose another one, or 0 for any"_s.arg(
            name, QString::number(port), QString::fromStdString(address.bind),
            QString::fromStdString(error.code().message())));
    }
}

QString Listener::url() const
{
    return u"%1://%2:%3"_s.arg(m_tls ? u"https"_s : u"http"_s, m_host).arg(port());
}

void Listener::setConnect(Connect connect)
{
    if (connect == m_connect) {
        return;
    }
    m_connect = connect;
    close();
    if (m_connect == Connect::Normal) {
        open();
    } else if (m_connect == Connect::Unanswered) {
        leaveUnanswered();
    }
}

void Listener::open()
{
    bindTo(m_acceptor, m_endpoint);
    m_acceptor.listen();
    accept();
}

void Listener::close()
{
    boost::system::error_code ignored;
    m_acceptor.close(ignored);
    m_queueFiller.close(ignored);
    for (const auto& known : m_sessions) {
        if (const auto session = known.lock()) {
            session->reset();
        }
    }
    m_sessions.clear();
}

/// Listens without accepting: one connection of our own fills the queue, and the system leaves further
/// attempts without an answer.
void Listener::leaveUnanswered()
{
    bindTo(m_acceptor, m_endpoint);
    m_acceptor.listen(0);
    m_queueFiller.async_connect(m_endpoint, [](const boost::system::error_code&) {});
}

void Listener::accept()
{
    m_acceptor.async_accept([this](const boost::system::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (!error) {
            start(std::move(socket));
            return accept();
        }
        spdlog::warn("port {}: accept: {}", port(), error.message());
        m_retry.expires_after(std::chrono::milliseconds(50));
        m_retry.async_wait([this](const boost::system::error_code& aborted) {
            if (!aborted && isOpen()) {
                accept();
            }
        });
    });
}

void Listener::start(tcp::socket socket)
{
    boost::system::error_code ignored;
    const auto remote = socket.remote_endpoint(ignored);
    const auto plan = m_service.onAccept();
    const auto session =
        std::make_shared<Session>(std::move(socket), m_tls ? &m_tls(plan.certificate) : nullptr, m_service,
                                  ConnectionInfo{nextConnectionId(), remote.port()});
    ++m_accepted;
    std::erase_if(m_sessions, [](const auto& known) { return known.expired(); });
    m_sessions.push_back(session);
    session->run(plan.connect);
}

}  // namespace marksim
