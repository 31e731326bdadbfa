#include "listener.h"

#include "httpsession.h"
#include "jsonreader.h"

#include <boost/asio/ip/address.hpp>
#include <spdlog/spdlog.h>
#include <sstream>

namespace marksim {

namespace asio = boost::asio;
using asio::ip::tcp;
using namespace Qt::StringLiterals;

namespace {

void bindTo(tcp::acceptor& acceptor, const tcp::endpoint& endpoint)
{
    acceptor.open(endpoint.protocol());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind(endpoint);
}

/// Binds for good. A port that the system is to choose is bound without sharing first, or the system may
/// choose one that another process has reserved in the same way.
void reserve(tcp::acceptor& acceptor, const tcp::endpoint& endpoint)
{
    acceptor.open(endpoint.protocol());
    acceptor.set_option(tcp::acceptor::reuse_address(endpoint.port() != 0));
    acceptor.bind(endpoint);
    acceptor.set_option(tcp::acceptor::reuse_address(true));
}

std::uint64_t nextConnectionId()
{
    static std::uint64_t last = 0;
    return ++last;
}

}  // namespace

Listener::Listener(asio::io_context& io, const std::string& address, std::uint16_t port, const QString& name,
                   Service& service, TlsContexts tls)
    : service_(service)
    , tls_(std::move(tls))
    , endpoint_(asio::ip::make_address(address), port)
    , reservation_(io)
    , acceptor_(io)
    , plug_(io)
    , retry_(io)
{
    try {
        reserve(reservation_, endpoint_);
        endpoint_ = reservation_.local_endpoint();
        open();
    } catch (const boost::system::system_error& error) {
        throw InputError(u"%1: port %2 on %3 cannot be had (%4); choose another one, or 0 for any"_s.arg(
            name, QString::number(port), QString::fromStdString(address),
            QString::fromStdString(error.code().message())));
    }
}

std::string Listener::authority() const
{
    std::ostringstream text;
    text << endpoint_;
    return text.str();
}

void Listener::setDoor(Connect door)
{
    const auto wanted = isAtTheDoor(door) ? door : Connect::Normal;
    if (wanted == door_)
        return;
    door_ = wanted;
    close();
    if (door_ == Connect::Normal)
        open();
    if (door_ == Connect::Unanswered)
        leaveUnanswered();
}

void Listener::open()
{
    bindTo(acceptor_, endpoint_);
    acceptor_.listen();
    accept();
}

void Listener::close()
{
    boost::system::error_code ignored;
    acceptor_.close(ignored);
    plug_.close(ignored);
    for (const auto& session : sessions_) {
        if (const auto alive = session.lock())
            alive->drop();
    }
    sessions_.clear();
}

/// Listens without accepting: one connection of our own fills the queue, and the system leaves further
/// attempts without an answer.
void Listener::leaveUnanswered()
{
    bindTo(acceptor_, endpoint_);
    acceptor_.listen(0);
    plug_.async_connect(endpoint_, [](const boost::system::error_code&) {});
}

void Listener::accept()
{
    acceptor_.async_accept([this](const boost::system::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted)
            return;
        if (!error) {
            welcome(std::move(socket));
            return accept();
        }
        spdlog::warn("port {}: accept: {}", port(), error.message());
        retry_.expires_after(std::chrono::milliseconds(50));
        retry_.async_wait([this](const boost::system::error_code& aborted) {
            if (!aborted && isOpen())
                accept();
        });
    });
}

void Listener::welcome(tcp::socket socket)
{
    boost::system::error_code error;
    const auto remote = socket.remote_endpoint(error);
    const auto behaviour = service_.welcome();
    auto* tls = tls_ ? &tls_(behaviour.certificate.value_or(Certificate::Good)) : nullptr;
    const auto session = std::make_shared<HttpSession>(std::move(socket), tls, service_,
                                                       ConnectionInfo{nextConnectionId(), remote.port()});
    ++accepted_;
    std::erase_if(sessions_, [](const auto& known) { return known.expired(); });
    sessions_.push_back(session);
    session->run(behaviour.connect);
}

}  // namespace marksim
