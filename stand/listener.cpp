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

std::uint64_t nextConnectionId()
{
    static std::uint64_t last = 0;
    return ++last;
}

}  // namespace

Listener::Listener(asio::io_context& io, const std::string& address, std::uint16_t port, const QString& name,
                   Service& service, TlsContexts tls)
    : io_(io)
    , service_(service)
    , tls_(std::move(tls))
    , endpoint_(asio::ip::make_address(address), port)
    , reservation_(io)
    , acceptor_(io)
    , retry_(io)
{
    try {
        bindTo(reservation_, endpoint_);
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

void Listener::open()
{
    if (acceptor_.is_open())
        return;
    bindTo(acceptor_, endpoint_);
    acceptor_.listen();
    accept();
}

void Listener::close()
{
    boost::system::error_code ignored;
    acceptor_.close(ignored);
    for (const auto& session : sessions_) {
        if (const auto alive = session.lock())
            alive->drop();
    }
    sessions_.clear();
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
            if (!aborted && acceptor_.is_open())
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
