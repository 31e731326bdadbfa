#pragma once

#include "stand/apis/api.h"
#include "stand/faults/behaviours.h"
#include "stand/http/listener.h"
#include "stand/http/requestlog.h"

namespace marksim {

/// Where a simulated server lives.
struct ServerAddress
{
    QString name;  ///< "site-1"
    HostAddress address;
    std::uint16_t port = 0;
    QString prefix;  ///< path in front of all methods, empty or with a leading "/"
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

    [[nodiscard]] const QString& name() const { return m_address.name; }
    [[nodiscard]] QString url() const { return m_listener.url() + m_address.prefix; }
    [[nodiscard]] const QString& prefix() const { return m_address.prefix; }
    /// What the server answers from now on.
    void setApi(Api api) { m_api = std::move(api); }
    [[nodiscard]] const Listener& listener() const { return m_listener; }
    [[nodiscard]] qint64 requests() const { return m_requests; }
    /// Connections and requests are counted from here on.
    void resetCounts();

    [[nodiscard]] const Behaviours& behaviours() const { return m_behaviours; }
    /// In force at once.
    void setBehaviours(const Behaviours& behaviours);

    ConnectionPlan onAccept() override;
    void serve(Request request, const ConnectionInfo& connection,
               std::function<void(Exchange)> answer) override;
    void onEnd(std::uint64_t exchange, int status, Outcome outcome) override;
    void onRefused(const ConnectionInfo& connection, Outcome outcome, const QString& reason) override;
    [[nodiscard]] Exchange refuse(int status, const QString& reason) const override;
    [[nodiscard]] std::uint64_t maxBodyBytes() const override { return 64UL * 1024 * 1024; }

private:
    [[nodiscard]] const Route* findRoute(const std::string& path) const;
    [[nodiscard]] std::string targetBehindPrefix(const Request& request) const;
    [[nodiscard]] Answer usualAnswer(const Route* route, const Request& request, const QJsonObject& answers);

    boost::asio::any_io_executor m_executor;
    ServerAddress m_address;
    Api m_api;
    RequestLog& m_log;
    Behaviours m_behaviours;
    qint64 m_requests = 0;
    Listener m_listener;
};

}  // namespace marksim
