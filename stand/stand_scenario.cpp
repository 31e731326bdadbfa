// Going over to another scenario while the servers run.

#include "stand/scenario/scenario.h"
#include "stand/scenario/schema.h"
#include "stand/stand.h"

namespace marksim {

using namespace Qt::StringLiterals;

void Stand::play(QJsonObject scenario, const QString& name)
{
    checkSameServers(scenario);
    closeSurplus(scenario);
    start(scenario, u"body"_s);
    m_playing = name;
}

/// Servers that run beyond the scenario's counts refuse connections, and operators do not list them.
void Stand::closeSurplus(QJsonObject& scenario) const
{
    auto servers = scenario["servers"_L1].toObject();
    QJsonArray sites;
    for (const auto& [role, number, server] : m_servers) {
        if (number > scenario[namesOf(role).group].toInt(maxServers)) {
            auto setup = servers[server->name()].toObject();
            setup["behaviours"_L1] = QJsonObject{{"connect"_L1, "refuse"_L1}};
            servers[server->name()] = setup;
        } else if (role == Role::Site) {
            sites.append(server->name());
        }
    }
    for (const auto& [role, number, server] : m_servers) {
        auto setup = servers[server->name()].toObject();
        if (role == Role::Operator && !setup.contains("lists"_L1)) {
            setup["lists"_L1] = sites;
        }
        servers[server->name()] = setup;
    }
    scenario["servers"_L1] = servers;
}

/// All servers that the scenario names must be there, and their behaviours must make sense.
void Stand::checkNames(const QJsonObject& scenario, const QString& where) const
{
    const auto servers = scenario["servers"_L1].toObject();
    for (auto server = servers.begin(); server != servers.end(); ++server) {
        const auto place = u"%1.servers.%2"_s.arg(where, server.key());
        if (server.key().contains(u'-') && find(server.key()).isEmpty()) {
            throw InputError(
                u"%1: there is no such server; raise the count of servers of its kind"_s.arg(place));
        }
        (void)readBehaviours((*server)["behaviours"_L1], place + u".behaviours"_s);
    }
}

QString Stand::missing(const QJsonObject& scenario) const
{
    QStringList options;
    for (const auto role : {Role::Operator, Role::Site, Role::Module}) {
        const auto& group = namesOf(role).group;
        if (const auto wanted = scenario[group].toInt(); wanted > count(role)) {
            options << u"--%1 %2"_s.arg(group).arg(wanted);
        }
    }
    const bool isTls = m_certificates != nullptr;
    if (scenario["tls"_L1].toBool(isTls) != isTls) {
        options << (isTls ? u"no --tls"_s : u"--tls"_s);
    }
    return options.join(u' ');
}

void Stand::checkSameServers(const QJsonObject& scenario) const
{
    if (const auto options = missing(scenario); !options.isEmpty()) {
        throw InputError(
            u"body: the scenario needs other servers than those that run; start marksim with %1"_s.arg(
                options));
    }
    const auto servers = scenario["servers"_L1].toObject();
    for (const auto& entry : m_servers) {
        const auto& server = *entry.server;
        const auto setup = servers[server.name()];
        const auto port = setup["port"_L1].toInt();
        if (servers.contains(server.name()) && ((port != 0 && port != server.listener().port()) ||
                                                setup["prefix"_L1].toString() != server.prefix())) {
            throw InputError(
                u"body.servers.%1: a running server keeps its port and prefix"_s.arg(server.name()));
        }
    }
}

}  // namespace marksim
