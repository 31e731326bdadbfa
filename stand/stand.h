#pragma once

#include "stand/apis/moduleapi.h"
#include "stand/commandline.h"
#include "stand/goods/goods.h"
#include "stand/http/certificates.h"
#include "stand/http/requestlog.h"
#include "stand/simulatedserver.h"

#include <boost/asio/io_context.hpp>
#include <map>
#include <memory>
#include <vector>

namespace marksim {

enum class Role { Operator, Site, Module };

struct RoleNames
{
    QString server;  ///< "site" of "site-1"
    QString group;   ///< "sites"
    int usualCount;
};

[[nodiscard]] const RoleNames& namesOf(Role role);

/// All simulated servers with what they share. Everything runs in the thread of run().
class Stand
{
public:
    /// Takes all ports and opens them. Throws InputError.
    Stand(boost::asio::io_context& io, const Options& options);

    /// All addresses and credentials, in the form of the ready line.
    [[nodiscard]] QJsonObject addresses() const;
    /// Scenario, TLS, version and the state of every server.
    [[nodiscard]] QJsonObject state() const;

    /// One server by its name, several by that of a group; none for an unknown name.
    [[nodiscard]] QList<SimulatedServer*> find(const QString& name) const;
    /// Null when there is no such module.
    [[nodiscard]] ModuleApi* module(const QString& name) const;
    [[nodiscard]] Goods& goods() { return m_goods; }
    [[nodiscard]] RequestLog& log() { return m_log; }

    /// Back to the start of the scenario: behaviours, goods, modules, counts, an empty log. Ports stay.
    void reset();
    /// What a start for a valid scenario would have to say in options, "--sites 5 --tls"; empty when play()
    /// will do.
    [[nodiscard]] QString missing(const QJsonObject& scenario) const;
    /// Goes over to another valid scenario as if it had been there from the start; servers beyond its counts
    /// refuse connections, and nobody lists those sites. `name` is told by state(). Throws InputError, with
    /// nothing changed, when it needs other servers than those that run.
    void play(QJsonObject scenario, const QString& name);

private:
    struct Entry
    {
        Role role;
        int number;
        std::unique_ptr<SimulatedServer> server;
    };

    void addServers(Role role, const QJsonObject& scenario);
    [[nodiscard]] Api makeApi(const Entry& entry);
    [[nodiscard]] ModuleSetup moduleSetup(const Entry& entry) const;
    [[nodiscard]] QStringList listedSites(const QString& operatorName) const;
    [[nodiscard]] QJsonValue setupOf(const QString& name) const;
    [[nodiscard]] QJsonArray describe(Role role) const;
    void start(const QJsonObject& scenario, const QString& where);
    void checkNames(const QJsonObject& scenario, const QString& where) const;
    void checkSameServers(const QJsonObject& scenario) const;
    void closeSurplus(QJsonObject& scenario) const;
    [[nodiscard]] int count(Role role) const;

    boost::asio::io_context& m_io;
    Options m_options;
    HostAddress m_address;
    QJsonObject m_scenario;
    QString m_playing;  ///< its name, empty for one that has none
    QStringList m_keys;
    const Goods m_packedGoods;
    Goods m_goods;
    std::unique_ptr<Certificates> m_certificates;  ///< null without TLS
    RequestLog m_log;
    std::vector<Entry> m_servers;
    std::map<QString, std::unique_ptr<ModuleApi>> m_modules;
};

}  // namespace marksim
