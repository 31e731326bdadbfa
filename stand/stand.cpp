#include "stand.h"

#include "jsonreader.h"
#include "siteapi.h"

#include <QFile>
#include <array>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr int defaultOperators = 1;
constexpr int defaultSites = 3;
constexpr int defaultModules = 1;

/// Keys have the form of the operator's; the first ones are accepted when nobody names others.
std::string defaultKey(int number)
{
    return u"c5a1f0de-7b42-4e8a-9d3f-%1"_s.arg(number, 12, 10, QChar(u'0')).toStdString();
}

Goods loadGoods(const std::string& path)
{
    if (path.empty())
        return Goods::builtIn();
    const auto name = QString::fromStdString(path);
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        throw InputError(u"%1: cannot be read (%2)"_s.arg(name, file.errorString()));
    return Goods::fromJson(file.readAll(), name);
}

int countOf(std::optional<int> ordered, std::optional<int> planned, int otherwise)
{
    return ordered.value_or(planned.value_or(otherwise));
}

QString text(const std::string& string)
{
    return QString::fromStdString(string);
}

}  // namespace

Stand::Stand(boost::asio::io_context& io, const Options& options)
    : io_(io)
    , options_(options)
    , scenario_(options.scenario.empty() ? Scenario() : Scenario::fromFile(options.scenario))
    , keys_(options.keys.empty() ? scenario_.keys : options.keys)
    , startGoods_(loadGoods(options.goods))
{
    const int modules = countOf(options.modules, scenario_.modules, defaultModules);
    for (int number = 1; options.keys.empty() && scenario_.keys.empty() && number <= std::max(1, modules);
         ++number)
        keys_.push_back(defaultKey(number));
    for (const auto& good : scenario_.goods)
        startGoods_.put(good);
    addServers(Role::Operator, countOf(options.operators, scenario_.operators, defaultOperators));
    addServers(Role::Site, countOf(options.sites, scenario_.sites, defaultSites));
    addServers(Role::Module, modules);
    checkNames();
    reset();
    admin_ = std::make_unique<AdminApi>(*this);
    adminListener_ = std::make_unique<Listener>(io_, options.adminBind, options.adminPort, u"admin port"_s,
                                                *admin_, nullptr);
}

void Stand::addServers(Role role, int count)
{
    static constexpr std::array names = {"operator-", "site-", "module-"};
    for (int number = 1; number <= count; ++number) {
        const auto name = names.at(static_cast<std::size_t>(role)) + std::to_string(number);
        const auto& setup = setupOf(name);
        servers_.push_back({role, std::make_unique<SimulatedServer>(
                                      io_, ServerAddress{name, options_.bind, setup.port, setup.prefix},
                                      makeApi(role, name, number), log_, nullptr)});
    }
}

std::unique_ptr<Api> Stand::makeApi(Role role, const std::string& name, int number)
{
    if (role == Role::Operator)
        return std::make_unique<OperatorApi>(keysOf(name), [this, name] { return listedSites(name); });
    if (role == Role::Site)
        return std::make_unique<SiteApi>(keysOf(name), goods_);
    auto module = std::make_unique<ModuleApi>(moduleSetup(name, number), goods_);
    modules_[name] = module.get();
    return module;
}

ModuleSetup Stand::moduleSetup(const std::string& name, int number) const
{
    const auto& planned = setupOf(name);
    const auto index = static_cast<std::size_t>(number - 1);
    ModuleSetup setup;
    setup.user = planned.user.value_or(u"admin"_s);
    setup.password = planned.password.value_or(u"admin"_s);
    setup.token = planned.token.value_or(text(index < keys_.size() ? keys_[index] : defaultKey(number)));
    setup.state = planned.state.value_or(setup.state);
    setup.readyAfter = planned.readyAfter.value_or(setup.readyAfter);
    for (const auto& good : planned.goods)
        setup.goods.put(good);
    return setup;
}

std::vector<std::string> Stand::keysOf(const std::string& name) const
{
    return setupOf(name).keys.value_or(keys_);
}

QStringList Stand::listedSites(const std::string& operatorName) const
{
    const auto planned = setupOf(operatorName).lists;
    QStringList sites;
    for (const auto& entry : servers_) {
        if (entry.role == Role::Site && !planned)
            sites << text(entry.server->url());
    }
    for (const auto& name : planned.value_or(QStringList())) {
        const auto found = find(name.toStdString());
        sites << (found.size() == 1 ? text(found.front()->url()) : name);
    }
    return sites;
}

const ServerSetup& Stand::setupOf(const std::string& name) const
{
    static const ServerSetup nothing;
    const auto found = scenario_.servers.find(name);
    return found == scenario_.servers.end() ? nothing : found->second;
}

void Stand::checkNames() const
{
    for (const auto& [name, setup] : scenario_.servers) {
        if (find(name).empty() && name.find('-') != std::string::npos)
            throw InputError(
                u"%1: servers.%2: there is no such server; raise the count of servers of its kind"_s.arg(
                    text(options_.scenario), text(name)));
    }
}

std::vector<SimulatedServer*> Stand::find(const std::string& name) const
{
    static constexpr std::array groups = {"operators", "sites", "modules"};
    std::vector<SimulatedServer*> found;
    for (const auto& entry : servers_) {
        if (name == "all" || name == entry.server->name() ||
            name == groups.at(static_cast<std::size_t>(entry.role)))
            found.push_back(entry.server.get());
    }
    return found;
}

ModuleApi* Stand::module(const std::string& name) const
{
    const auto found = modules_.find(name);
    return found == modules_.end() ? nullptr : found->second;
}

void Stand::reset()
{
    goods_ = startGoods_;
    for (const auto& entry : servers_)
        entry.server->setBehaviours(setupOf(entry.server->name()).behaviours);
    for (const auto* group : {"operators", "sites", "modules", "all"}) {
        for (auto* server : find(group))
            server->appendBehaviours(setupOf(group).behaviours);
    }
    int number = 0;
    for (const auto& entry : servers_) {
        if (entry.role == Role::Module)
            modules_.at(entry.server->name())->restart(moduleSetup(entry.server->name(), ++number));
    }
    log_.clear();
}

QJsonObject Stand::moduleStatus(const std::string& name) const
{
    return modules_.at(name)->toJson();
}

QJsonArray Stand::describe(Role role) const
{
    QJsonArray list;
    for (const auto& entry : servers_) {
        if (entry.role != role)
            continue;
        QJsonObject server{{"name"_L1, text(entry.server->name())}, {"url"_L1, text(entry.server->url())}};
        if (role == Role::Module) {
            const auto status = moduleStatus(entry.server->name());
            for (const auto key : {"user"_L1, "password"_L1, "token"_L1})
                server[key] = status[key];
        }
        list.append(server);
    }
    return list;
}

QJsonObject Stand::ready() const
{
    QJsonArray keys;
    for (const auto& key : keys_)
        keys.append(text(key));
    return {{"ready"_L1, true},
            {"admin"_L1, text("http://" + adminListener_->authority())},
            {"operators"_L1, describe(Role::Operator)},
            {"sites"_L1, describe(Role::Site)},
            {"modules"_L1, describe(Role::Module)},
            {"keys"_L1, keys},
            {"caFile"_L1, QJsonValue()},
            {"goods"_L1, goods_.all().size()}};
}

QJsonObject Stand::state() const
{
    QJsonArray servers;
    for (const auto& entry : servers_) {
        const auto& server = *entry.server;
        QJsonObject described{{"name"_L1, text(server.name())},
                              {"url"_L1, text(server.url())},
                              {"open"_L1, server.listener().isOpen()},
                              {"connections"_L1, static_cast<qint64>(server.listener().accepted())},
                              {"requests"_L1, static_cast<qint64>(server.requests())},
                              {"behaviours"_L1, server.behaviours().toJson()}};
        if (entry.role == Role::Module)
            described["module"_L1] = moduleStatus(server.name());
        servers.append(described);
    }
    auto state = ready();
    state["version"_L1] = QStringLiteral(MARKSIM_VERSION);
    state["servers"_L1] = servers;
    return state;
}

}  // namespace marksim
