#pragma once

#include "api.h"
#include "behaviourlist.h"
#include "listener.h"
#include "requestlog.h"
#include "service.h"

#include <memory>
#include <string>

namespace marksim {

/// Where a simulated server lives.
struct ServerAddress
{
    std::string name;     ///< "site-1"
    std::string address;  ///< to bind to
    std::uint16_t port = 0;
    std::string prefix;  ///< path in front of all methods, empty or with a leading "/"
};

/// An operator host, a CDN site or a local module on a port of its own: an interface with a list of
/// behaviours in front of it. Every request goes into the log.
class SimulatedServer : public Service
{
public:
    /// Opens the port; setApi() is to follow before any request. Throws InputError when the port cannot be
    /// had.
    SimulatedServer(boost::asio::io_context& io, ServerAddress address, RequestLog& log,
                    Listener::TlsContexts tls);

    [[nodiscard]] const std::string& name() const { return address_.name; }
    [[nodiscard]] std::string url() const;
    [[nodiscard]] const std::string& prefix() const { return address_.prefix; }
    /// What the server answers from now on.
    void setApi(std::unique_ptr<Api> api) { api_ = std::move(api); }
    [[nodiscard]] const Listener& listener() const { return listener_; }
    [[nodiscard]] std::uint64_t requests() const { return requests_; }

    [[nodiscard]] const BehaviourList& behaviours() const { return behaviours_; }
    void setBehaviours(std::vector<Behaviour> behaviours);
    void appendBehaviours(std::vector<Behaviour> behaviours);
    void prependBehaviours(std::vector<Behaviour> behaviours);
    /// As BehaviourList::remove().
    void removeBehaviours(const std::vector<Behaviour>& behaviours);

    Behaviour welcome() override;
    Exchange serve(const Request& request, const ConnectionInfo& connection) override;
    void ended(std::uint64_t exchange, int status, Outcome outcome) override;
    [[nodiscard]] Answer refusal(int status, const QString& reason) const override;
    [[nodiscard]] std::uint64_t largestBody() const override;

private:
    [[nodiscard]] const Route* route(const Request& request) const;
    [[nodiscard]] Answer regularAnswer(const Route* route, const Request& request, const Twist& twist);
    void followBehaviours();

    ServerAddress address_;
    std::unique_ptr<Api> api_;
    RequestLog& log_;
    bool tls_;
    BehaviourList behaviours_;
    std::uint64_t requests_ = 0;
    Listener listener_;
};

}  // namespace marksim
