#pragma once

#include "adminapi.h"
#include "certificates.h"
#include "commandline.h"
#include "goods.h"
#include "moduleapi.h"
#include "operatorapi.h"
#include "requestlog.h"
#include "scenario.h"
#include "simulatedserver.h"

#include <boost/asio/io_context.hpp>
#include <map>
#include <memory>
#include <vector>

namespace marksim {

/// All simulated servers with what they share, and the admin port. Everything runs in the thread of run().
class Stand
{
public:
    /// Takes all ports and opens them. Throws InputError.
    Stand(boost::asio::io_context& io, const Options& options);

    /// What is printed when ready: all addresses and credentials.
    [[nodiscard]] QJsonObject ready() const;
    /// The same with the state of every server.
    [[nodiscard]] QJsonObject state() const;

    /// One server by its name, several by that of a group; none for an unknown name.
    [[nodiscard]] std::vector<SimulatedServer*> find(const std::string& name) const;
    /// Null when there is no such module.
    [[nodiscard]] ModuleApi* module(const std::string& name) const;

    [[nodiscard]] bool hasPage() const { return options_.page; }
    [[nodiscard]] Goods& goods() { return goods_; }
    [[nodiscard]] RequestLog& log() { return log_; }

    /// Back to the start of the scenario: keys, behaviours, goods, modules, an empty log. Ports stay.
    void reset();
    /// What a start for `scenario` would have to say in options, "--sites 5 --tls"; empty when play() will
    /// do.
    [[nodiscard]] QString missing(const Scenario& scenario) const;
    /// Goes over to another scenario as if it had been there from the start; servers beyond its counts refuse
    /// connections, and nobody lists those sites. `name` is told by state(). Throws InputError, with nothing
    /// changed, when it needs other servers than those that run.
    void play(Scenario scenario, const QString& name);

private:
    enum class Role { Operator, Site, Module };

    void addServers(Role role, int count, const Scenario& scenario);
    [[nodiscard]] std::unique_ptr<Api> makeApi(Role role, const std::string& name, int number);
    [[nodiscard]] ModuleSetup moduleSetup(const std::string& name, int number) const;
    [[nodiscard]] std::vector<std::string> keysOf(const std::string& name) const;
    [[nodiscard]] QStringList listedSites(const std::string& operatorName) const;
    [[nodiscard]] const ServerSetup& setupOf(const std::string& name) const;
    [[nodiscard]] QJsonArray describe(Role role) const;
    [[nodiscard]] QJsonObject moduleStatus(const std::string& name) const;
    void takeOver(Scenario scenario, const QString& where);
    void checkNames(const Scenario& scenario, const QString& where) const;
    void checkSameServers(const Scenario& scenario) const;
    void leaveOutSurplus(Scenario& scenario) const;
    [[nodiscard]] int count(Role role) const;
    [[nodiscard]] bool isTls() const { return certificates_ != nullptr; }

    struct Entry
    {
        Role role;
        int number;
        std::unique_ptr<SimulatedServer> server;
    };

    boost::asio::io_context& io_;
    Options options_;
    Scenario scenario_;
    QString playing_;  ///< its name, empty for one that has none
    std::vector<std::string> keys_;
    const Goods packedGoods_;
    Goods goods_;
    std::unique_ptr<Certificates> certificates_;
    RequestLog log_;
    std::vector<Entry> servers_;
    std::map<std::string, ModuleApi*> modules_;
    std::unique_ptr<AdminApi> admin_;
    std::unique_ptr<Listener> adminListener_;
};

}  // namespace marksim
