#include "stand.h"

#include "jsonreader.h"
#include "siteapi.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <iterator>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr int defaultOperators = 1;
constexpr int defaultSites = 3;
constexpr int defaultModules = 1;

// In the order of Stand::Role.
constexpr std::array nouns = {"operator", "site", "module"};
constexpr std::array groups = {"operators", "sites", "modules"};

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
    , packedGoods_(loadGoods(options.goods))
{
    auto scenario = options.scenario.empty() ? Scenario() : Scenario::fromFile(options.scenario);
    if (options.tls || scenario.tls.value_or(false))
        certificates_ = std::make_unique<Certificates>(options.bind);
    addServers(Role::Operator, countOf(options.operators, scenario.operators, defaultOperators), scenario);
    addServers(Role::Site, countOf(options.sites, scenario.sites, defaultSites), scenario);
    addServers(Role::Module, countOf(options.modules, scenario.modules, defaultModules), scenario);
    takeOver(std::move(scenario), text(options.scenario));
    admin_ = std::make_unique<AdminApi>(*this);
    adminListener_ = std::make_unique<Listener>(io_, options.adminBind, options.adminPort, u"admin port"_s,
                                                *admin_, nullptr);
}

void Stand::addServers(Role role, int count, const Scenario& scenario)
{
    Listener::TlsContexts tls;
    if (certificates_ && (role != Role::Module || options_.tlsModules))
        tls = [this](Certificate kind) -> auto&
        {
            return certificates_->context(kind);
        };
    for (int number = 1; number <= count; ++number) {
        const auto name =
            std::string(nouns.at(static_cast<std::size_t>(role))) + '-' + std::to_string(number);
        const auto planned = scenario.servers.find(name);
        const auto setup = planned == scenario.servers.end() ? ServerSetup() : planned->second;
        servers_.push_back(
            {role, number,
             std::make_unique<SimulatedServer>(
                 io_, ServerAddress{name, options_.bind, setup.port, setup.prefix}, log_, tls)});
    }
}

int Stand::count(Role role) const
{
    return static_cast<int>(std::count_if(servers_.begin(), servers_.end(),
                                          [role](const Entry& entry) { return entry.role == role; }));
}

void Stand::play(Scenario scenario, const QString& name)
{
    checkSameServers(scenario);
    leaveOutSurplus(scenario);
    takeOver(std::move(scenario), u"body"_s);
    playing_ = name;
}

void Stand::leaveOutSurplus(Scenario& scenario) const
{
    const std::array counts = {scenario.operators, scenario.sites, scenario.modules};
    const auto inPlay = [&counts](const Entry& entry) {
        return entry.number <= counts.at(static_cast<std::size_t>(entry.role)).value_or(mostServers);
    };
    QStringList sites;
    for (const auto& entry : servers_) {
        if (!inPlay(entry))
            scenario.servers[entry.server->name()].behaviours = {
                Behaviour::fromJson(QJsonObject{{"connect"_L1, u"refuse"_s}}, {})};
        else if (entry.role == Role::Site)
            sites << text(entry.server->name());
    }
    for (const auto& entry : servers_) {
        if (entry.role != Role::Operator)
            continue;
        auto& lists = scenario.servers[entry.server->name()].lists;
        lists = lists.value_or(sites);
    }
}

void Stand::takeOver(Scenario scenario, const QString& where)
{
    checkNames(scenario, where);
    scenario_ = std::move(scenario);
    keys_ = options_.keys.empty() ? scenario_.keys : options_.keys;
    const int defaults = keys_.empty() ? std::max(1, count(Role::Module)) : 0;
    for (int number = 1; number <= defaults; ++number)
        keys_.push_back(defaultKey(number));
    reset();
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

void Stand::checkNames(const Scenario& scenario, const QString& where) const
{
    for (const auto& [name, setup] : scenario.servers) {
        if (find(name).empty() && name.find('-') != std::string::npos)
            throw InputError(
                u"%1.servers.%2: there is no such server; raise the count of servers of its kind"_s.arg(
                    where, text(name)));
    }
}

QString Stand::missing(const Scenario& scenario) const
{
    QStringList options;
    const auto needCount = [&](Role role, std::optional<int> wanted) {
        if (wanted.value_or(0) > count(role))
            options
                << u"--%1 %2"_s.arg(QLatin1String(groups.at(static_cast<std::size_t>(role)))).arg(*wanted);
    };
    needCount(Role::Operator, scenario.operators);
    needCount(Role::Site, scenario.sites);
    needCount(Role::Module, scenario.modules);
    if (scenario.tls.value_or(isTls()) != isTls())
        options << (isTls() ? u"no --tls"_s : u"--tls"_s);
    return options.join(u' ');
}

void Stand::checkSameServers(const Scenario& scenario) const
{
    if (const auto options = missing(scenario); !options.isEmpty())
        throw InputError(
            u"body: the scenario needs other servers than those that run; start marksim with %1"_s.arg(
                options));
    for (const auto* server : find("all")) {
        const auto planned = scenario.servers.find(server->name());
        if (planned == scenario.servers.end())
            continue;
        const auto port = planned->second.port;
        if ((port != 0 && port != server->listener().port()) || planned->second.prefix != server->prefix())
            throw InputError(
                u"body.servers.%1: a running server keeps its port and prefix"_s.arg(text(server->name())));
    }
}

std::vector<SimulatedServer*> Stand::find(const std::string& name) const
{
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
    goods_ = packedGoods_;
    for (const auto& good : scenario_.goods)
        goods_.put(good);
    for (const auto& entry : servers_) {
        const auto& name = entry.server->name();
        entry.server->setApi(makeApi(entry.role, name, entry.number));
        auto behaviours = setupOf(name).behaviours;
        for (const auto* group : {groups.at(static_cast<std::size_t>(entry.role)), "all"})
            std::ranges::copy(setupOf(group).behaviours, std::back_inserter(behaviours));
        entry.server->setBehaviours(std::move(behaviours));
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
    const auto admin = "http://" + adminListener_->authority();
    QJsonArray keys;
    for (const auto& key : keys_)
        keys.append(text(key));
    return {{"ready"_L1, true},
            {"admin"_L1, text(admin)},
            {"page"_L1, hasPage() ? QJsonValue(text(admin + '/')) : QJsonValue()},
            {"operators"_L1, describe(Role::Operator)},
            {"sites"_L1, describe(Role::Site)},
            {"modules"_L1, describe(Role::Module)},
            {"keys"_L1, keys},
            {"caFile"_L1, certificates_ ? QJsonValue(text(certificates_->caFile())) : QJsonValue()},
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
    state["scenario"_L1] = playing_.isEmpty() ? QJsonValue() : playing_;
    state["tls"_L1] = isTls();
    state["version"_L1] = QStringLiteral(MARKSIM_VERSION);
    state["servers"_L1] = servers;
    return state;
}

}  // namespace marksim
