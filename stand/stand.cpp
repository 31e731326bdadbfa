#include "stand/stand.h"

#include "stand/scenario/scenario.h"
#include "stand/scenario/schema.h"

#include <algorithm>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

/// Keys have the form of the operator's; the first ones are accepted when nobody names others.
QString defaultKey(int number)
{
    return u"c5a1f0de-7b42-4e8a-9d3f-%1"_s.arg(number, 12, 10, QChar(u'0'));
}

}  // namespace

const RoleNames& namesOf(Role role)
{
    static const std::map<Role, RoleNames> names = {{Role::Operator, {u"operator"_s, u"operators"_s, 1}},
                                                    {Role::Site, {u"site"_s, u"sites"_s, 3}},
                                                    {Role::Module, {u"module"_s, u"modules"_s, 1}}};
    return names.at(role);
}

Stand::Stand(boost::asio::io_context& io, const Options& options)
    : m_io(io)
    , m_options(options)
    , m_address(HostAddress::of(options.bind, options.publicAddress))
    , m_packedGoods(Goods::fromFile(QString::fromStdString(options.goods)))
{
    checkFaultsAreDescribed();
    const auto nameOrPath = QString::fromStdString(options.scenario);
    const auto* shipped = findShipped(nameOrPath);
    const auto scenario = shipped                ? shipped->stand
                          : nameOrPath.isEmpty() ? QJsonObject()
                                                 : readScenario(nameOrPath);
    if (options.tls || scenario["tls"_L1].toBool()) {
        m_certificates = std::make_unique<Certificates>(std::vector{m_address.bind, m_address.host});
    }
    for (const auto role : {Role::Operator, Role::Site, Role::Module}) {
        addServers(role, scenario);
    }
    start(scenario, nameOrPath);
    m_playing = shipped ? shipped->name : QString();
}

void Stand::addServers(Role role, const QJsonObject& scenario)
{
    const auto& [name, group, usualCount] = namesOf(role);
    const auto count = m_options.counts.value(group, scenario[group].toInt(usualCount));
    Listener::TlsContexts tls;
    if (m_certificates && (role != Role::Module || m_options.tlsModules)) {
        tls = [this](const QString& certificate) -> auto&
        {
            return m_certificates->context(certificate);
        };
    }
    for (int number = 1; number <= count; ++number) {
        const auto serverName = u"%1-%2"_s.arg(name).arg(number);
        const auto setup = scenario["servers"_L1][serverName];
        const auto port = static_cast<std::uint16_t>(setup["port"_L1].toInt());
        m_servers.push_back(
            {role, number,
             std::make_unique<SimulatedServer>(
                 m_io, ServerAddress{serverName, m_address, port, setup["prefix"_L1].toString()}, m_log,
                 tls)});
    }
}

int Stand::count(Role role) const
{
    return static_cast<int>(
        std::ranges::count_if(m_servers, [role](const Entry& entry) { return entry.role == role; }));
}

void Stand::start(const QJsonObject& scenario, const QString& where)
{
    checkNames(scenario, where);
    m_scenario = scenario;
    m_keys.clear();
    for (const auto& key : m_options.keys) {
        m_keys << QString::fromStdString(key);
    }
    if (m_keys.isEmpty()) {
        m_keys = scenario["keys"_L1].toVariant().toStringList();
    }
    const int defaults = m_keys.isEmpty() ? std::max(1, count(Role::Module)) : 0;
    for (int number = 1; number <= defaults; ++number) {
        m_keys << defaultKey(number);
    }
    reset();
}

Api Stand::makeApi(const Entry& entry)
{
    const auto& name = entry.server->name();
    const auto setup = setupOf(name);
    const auto keys = setup["keys"_L1].isUndefined() ? m_keys : setup["keys"_L1].toVariant().toStringList();
    if (entry.role == Role::Operator) {
        return operatorApi(keys, [this, name] { return listedSites(name); });
    }
    if (entry.role == Role::Site) {
        return siteApi(keys, m_goods);
    }
    m_modules[name] = std::make_unique<ModuleApi>(moduleSetup(entry), m_goods);
    return m_modules[name]->api();
}

ModuleSetup Stand::moduleSetup(const Entry& entry) const
{
    const auto setup = setupOf(entry.server->name());
    const auto token = m_keys.value(entry.number - 1, defaultKey(entry.number));
    Goods goods;
    goods.putAll(setup["goods"_L1]);
    return {setup["user"_L1].toString(u"admin"_s),
            setup["password"_L1].toString(u"admin"_s),
            setup["token"_L1].toString(token),
            setup["state"_L1].toString(u"ready"_s),
            std::chrono::milliseconds(setup["readyAfterMs"_L1].toInt(1000)),
            goods};
}

QStringList Stand::listedSites(const QString& operatorName) const
{
    const auto setup = setupOf(operatorName);
    QStringList sites;
    if (setup["lists"_L1].isUndefined()) {
        for (const auto* site : find(u"sites"_s)) {
            sites << site->url();
        }
    }
    const auto names = setup["lists"_L1].toVariant().toStringList();
    for (const auto& name : names) {
        const auto found = find(name);
        sites << (found.size() == 1 ? found.front()->url() : name);
    }
    return sites;
}

/// What the scenario says of one server or group.
QJsonValue Stand::setupOf(const QString& name) const
{
    return m_scenario["servers"_L1][name];
}

QList<SimulatedServer*> Stand::find(const QString& name) const
{
    QList<SimulatedServer*> found;
    for (const auto& [role, number, server] : m_servers) {
        if (name == u"all" || name == server->name() || name == namesOf(role).group) {
            found << server.get();
        }
    }
    return found;
}

ModuleApi* Stand::module(const QString& name) const
{
    const auto found = m_modules.find(name);
    return found == m_modules.end() ? nullptr : found->second.get();
}

void Stand::reset()
{
    m_goods = m_packedGoods;
    m_goods.putAll(m_scenario["goods"_L1]);
    for (const auto& entry : m_servers) {
        auto& server = *entry.server;
        server.resetCounts();
        server.setApi(makeApi(entry));
        Behaviours behaviours;
        for (const auto& name : {server.name(), namesOf(entry.role).group, u"all"_s}) {
            behaviours += readBehaviours(setupOf(name)["behaviours"_L1], name);
        }
        server.setBehaviours(behaviours);
    }
    m_log.clear();
}

QJsonArray Stand::describe(Role role) const
{
    QJsonArray list;
    for (const auto* server : find(namesOf(role).group)) {
        QJsonObject described{{"name"_L1, server->name()}, {"url"_L1, server->url()}};
        if (role == Role::Module) {
            const auto status = module(server->name())->toJson();
            for (const auto key : {"user"_L1, "password"_L1, "token"_L1}) {
                described[key] = status[key];
            }
        }
        list.append(described);
    }
    return list;
}

QJsonObject Stand::addresses() const
{
    return {{"ready"_L1, true},
            {"operators"_L1, describe(Role::Operator)},
            {"sites"_L1, describe(Role::Site)},
            {"modules"_L1, describe(Role::Module)},
            {"keys"_L1, QJsonArray::fromStringList(m_keys)},
            {"caFile"_L1, m_certificates ? QJsonValue(m_certificates->caFile()) : QJsonValue()},
            {"goods"_L1, m_goods.all().size()}};
}

QJsonObject Stand::state() const
{
    QJsonArray servers;
    for (const auto& [role, number, server] : m_servers) {
        QJsonObject described{{"name"_L1, server->name()},
                              {"url"_L1, server->url()},
                              {"open"_L1, server->listener().isOpen()},
                              {"connections"_L1, server->listener().accepted()},
                              {"requests"_L1, server->requests()},
                              {"behaviours"_L1, toJson(server->behaviours())}};
        if (role == Role::Module) {
            described["module"_L1] = module(server->name())->toJson();
        }
        servers.append(described);
    }
    auto state = addresses();
    state["scenario"_L1] = m_playing.isEmpty() ? QJsonValue() : m_playing;
    state["tls"_L1] = m_certificates != nullptr;
    state["version"_L1] = QStringLiteral(MARKSIM_VERSION);
    state["servers"_L1] = servers;
    return state;
}

}  // namespace marksim
