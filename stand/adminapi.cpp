#include "adminapi.h"

#include "checkreply.h"
#include "pagefiles.h"
#include "shippedscenarios.h"
#include "stand.h"

#include <boost/asio/ip/address.hpp>
#include <charconv>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

// Many more than anybody switches on or edits by hand.
constexpr std::size_t mostBehaviours = 1000;
constexpr qsizetype mostGoods = 10'000;

/// There is no such thing.
class NotFound : public InputError
{
public:
    using InputError::InputError;
};

Answer problem(int status, const QString& text)
{
    return Answer::json(status, {{"error"_L1, text}});
}

/// The admin port is for programs and for its own pages: a request that a foreign page has a browser make is
/// refused, and so is one that reached this address through a foreign name.
bool isForeign(const Request& request)
{
    const std::string host(request.header("Host").value_or(""));
    const auto origin = request.header("Origin");
    if (origin && *origin != "http://" + host)
        return true;
    auto name = host.substr(0, host.find(']') == std::string::npos ? host.find(':') : host.find(']') + 1);
    if (name.starts_with('['))
        name = name.substr(1, name.size() - 2);
    boost::system::error_code notAnAddress;
    boost::asio::ip::make_address(name, notAnAddress);
    return notAnAddress && name != "localhost";
}

template <typename Known>
void refuseParameters(const Request& request, const Known& known)
{
    for (const auto& [name, value] : request.query) {
        if (name.empty() || std::find(known.begin(), known.end(), name) == known.end())
            throw InputError(u"unknown parameter \"%1\""_s.arg(QString::fromStdString(name)));
    }
}

void refuseBody(const Request& request)
{
    if (!request.body.empty())
        throw InputError(u"body: there must be none"_s);
}

std::uint64_t readNumber(const Request& request, std::string_view name)
{
    const auto found = request.query.find(name);
    if (found == request.query.end())
        return 0;
    std::uint64_t number = 0;
    const auto* end = found->second.data() + found->second.size();
    const auto result = std::from_chars(found->second.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end)
        throw InputError(u"\"%1\" must be a number"_s.arg(QString::fromStdString(found->first)));
    return number;
}

bool readSwitch(const Request& request, std::string_view name)
{
    const auto number = readNumber(request, name);
    if (number > 1)
        throw InputError(u"\"%1\" must be 0 or 1"_s.arg(QString::fromStdString(std::string(name))));
    return number == 1;
}

/// What follows the path of a route: the name of a server, the code of a good.
std::string nameBehind(std::string_view route, const Request& request)
{
    auto name = request.path.substr(route.size());
    if (QString::fromStdString(name).toStdString() != name)
        throw InputError(u"path: not UTF-8"_s);
    return name;
}

QJsonValue bodyOf(const Request& request)
{
    return parseJson(QByteArray::fromStdString(request.body), u"body"_s);
}

void checkCount(std::size_t behaviours)
{
    if (behaviours > mostBehaviours)
        throw InputError(u"body: a server has at most %1 behaviours"_s.arg(mostBehaviours));
}

std::vector<SimulatedServer*> serversNamed(const Stand& stand, const std::string& name)
{
    auto servers = stand.find(name);
    if (servers.empty())
        throw NotFound(u"there is no server \"%1\""_s.arg(QString::fromStdString(name)));
    return servers;
}

ModuleApi& moduleNamed(const Stand& stand, const std::string& name)
{
    auto* module = stand.module(name);
    if (!module)
        throw NotFound(u"there is no module \"%1\""_s.arg(QString::fromStdString(name)));
    return *module;
}

}  // namespace

const std::initializer_list<AdminApi::AdminRoute> AdminApi::routes = {
    {"GET", "/state", &AdminApi::state},
    {"GET", "/requests", &AdminApi::requests, {"since", "server", "last", "brief"}},
    {"DELETE", "/requests", &AdminApi::forgetRequests},
    {"GET", "/requests/", &AdminApi::oneRequest},
    {"GET", "/behaviours/", &AdminApi::behaviours},
    {"PUT", "/behaviours/", &AdminApi::setBehaviours},
    {"POST", "/behaviours/", &AdminApi::addBehaviours, {"first"}},
    {"DELETE", "/behaviours/", &AdminApi::removeBehaviours},
    {"GET", "/goods", &AdminApi::listGoods},
    {"GET", "/goods/", &AdminApi::good},
    {"PUT", "/goods/", &AdminApi::setGood},
    {"DELETE", "/goods/", &AdminApi::removeGood},
    {"GET", "/modules/", &AdminApi::module},
    {"PUT", "/modules/", &AdminApi::setModule},
    {"PUT", "/scenario", &AdminApi::playScenario},
    {"GET", "/scenarios", &AdminApi::listScenarios},
    {"POST", "/scenarios/", &AdminApi::playShipped},
    {"POST", "/reset", &AdminApi::reset},
};

Exchange AdminApi::serve(const Request& request, const ConnectionInfo&)
{
    auto reply = answer(request);
    confine(reply);
    return planExchange(std::move(reply), {}, request);
}

Answer AdminApi::refusal(int status, const QString& reason) const
{
    auto reply = problem(status, reason);
    confine(reply);
    return reply;
}

Answer AdminApi::answer(const Request& request)
{
    if (isForeign(request))
        return problem(403, u"this address answers programs and its own pages only"_s);
    if (stand_.hasPage() && request.verb == "GET" && request.query.empty()) {
        if (auto file = pageFile(request.path))
            return *file;
    }
    std::string allowed;
    for (const auto& route : routes) {
        const bool named = route.path.ends_with('/') && request.path.size() > route.path.size();
        if (!(named ? request.path.starts_with(route.path) : request.path == route.path))
            continue;
        if (route.verb == request.verb)
            return answer(route, request);
        allowed.append(allowed.empty() ? "" : ", ").append(route.verb);
    }
    if (allowed.empty())
        return problem(404, u"there is no such path"_s);
    auto refusal = problem(405, u"the path does not take this method"_s);
    refusal.headers.emplace_back("Allow", allowed);
    return refusal;
}

Answer AdminApi::answer(const AdminRoute& route, const Request& request)
{
    try {
        refuseParameters(request, route.parameters);
        if (route.verb == "GET")
            refuseBody(request);
        return (this->*route.handle)(request, nameBehind(route.path, request));
    } catch (const NotFound& error) {
        return problem(404, QString::fromUtf8(error.what()));
    } catch (const InputError& error) {
        return problem(400, QString::fromUtf8(error.what()));
    }
}

Answer AdminApi::state(const Request&, const std::string&)
{
    return Answer::json(200, stand_.state());
}

Answer AdminApi::requests(const Request& request, const std::string&)
{
    RequestFilter filter;
    filter.since = readNumber(request, "since");
    filter.last = readNumber(request, "last");
    filter.brief = readSwitch(request, "brief");
    if (const auto server = request.query.find("server"); server != request.query.end()) {
        filter.server = server->second;
        if (stand_.find(filter.server).size() != 1)
            throw InputError(u"there is no server \"%1\""_s.arg(QString::fromStdString(filter.server)));
    }
    return Answer::json(200, stand_.log().toJson(filter));
}

Answer AdminApi::oneRequest(const Request&, const std::string& name)
{
    const auto* entry = stand_.log().find(QString::fromStdString(name).toULongLong());
    if (!entry)
        throw NotFound(u"there is no such request, or no longer"_s);
    return Answer::json(200, entry->toJson());
}

Answer AdminApi::forgetRequests(const Request& request, const std::string&)
{
    refuseBody(request);
    stand_.log().clear();
    return Answer::json(200, {});
}

Answer AdminApi::behaviours(const Request&, const std::string& name)
{
    QJsonObject lists;
    for (const auto* server : serversNamed(stand_, name))
        lists[QString::fromStdString(server->name())] = server->behaviours().toJson();
    return Answer::json(200, lists);
}

Answer AdminApi::setBehaviours(const Request& request, const std::string& name)
{
    const auto list = behavioursFromJson(bodyOf(request), u"body"_s);
    checkCount(list.size());
    for (auto* server : serversNamed(stand_, name))
        server->setBehaviours(list);
    return behaviours({}, name);
}

Answer AdminApi::addBehaviours(const Request& request, const std::string& name)
{
    const auto list = behavioursFromJson(bodyOf(request), u"body"_s);
    const bool first = readSwitch(request, "first");
    const auto servers = serversNamed(stand_, name);
    for (const auto* server : servers)
        checkCount(server->behaviours().size() + list.size());
    for (auto* server : servers) {
        if (first)
            server->prependBehaviours(list);
        else
            server->appendBehaviours(list);
    }
    return behaviours({}, name);
}

Answer AdminApi::removeBehaviours(const Request& request, const std::string& name)
{
    const bool all = request.body.empty();
    const auto list = all ? std::vector<Behaviour>() : behavioursFromJson(bodyOf(request), u"body"_s);
    for (auto* server : serversNamed(stand_, name)) {
        if (all)
            server->setBehaviours({});
        else
            server->removeBehaviours(list);
    }
    return behaviours({}, name);
}

Answer AdminApi::listGoods(const Request&, const std::string&)
{
    QJsonArray list;
    for (const auto& good : stand_.goods().all())
        list.append(good.toJson());
    return Answer::json(200, {{"goods"_L1, list}});
}

Answer AdminApi::good(const Request&, const std::string& name)
{
    const auto* good = stand_.goods().byCode(QString::fromStdString(name));
    if (!good)
        throw NotFound(u"the code is not listed"_s);
    auto object = good->toJson();
    object["reply"_L1] = QJsonObject{{"online"_L1, onlineEntry(stand_.goods(), good->parts.text)},
                                     {"offline"_L1, offlineEntry({}, stand_.goods(), good->parts.cis)}};
    return Answer::json(200, object);
}

Answer AdminApi::setGood(const Request& request, const std::string& name)
{
    const auto code = QString::fromStdString(name);
    const auto body = bodyOf(request);
    auto source = body.toObject();
    if (!body.isObject() || source.value("code"_L1).toString(code) != code)
        throw InputError(u"body: must be an object {...} without \"code\" or with that of the path"_s);
    source["code"_L1] = code;
    if (stand_.goods().all().size() >= mostGoods && !stand_.goods().byCode(code))
        throw InputError(u"there are %1 goods already"_s.arg(mostGoods));
    stand_.goods().put(Good::fromJson(source, u"body"_s));
    return good({}, name);
}

Answer AdminApi::removeGood(const Request& request, const std::string& name)
{
    refuseBody(request);
    if (!stand_.goods().remove(QString::fromStdString(name)))
        throw NotFound(u"the code is not listed"_s);
    return Answer::json(200, {});
}

Answer AdminApi::module(const Request&, const std::string& name)
{
    return Answer::json(200, moduleNamed(stand_, name).toJson());
}

Answer AdminApi::setModule(const Request& request, const std::string& name)
{
    auto& module = moduleNamed(stand_, name);
    JsonReader reader(bodyOf(request), u"body"_s);
    const auto wait = reader.integer("readyAfterMs"_L1, 0, longestInitialisationMs);
    const auto stateName = reader.text("state"_L1);
    const auto state = stateName ? moduleStateFromName(*stateName) : std::nullopt;
    if (stateName && !state)
        reader.fail("state"_L1, u"must be not_configured, initialization, ready or sync_error"_s);
    reader.finish();
    if (wait)
        module.setReadyAfter(std::chrono::milliseconds(*wait));
    if (state)
        module.setState(*state);
    return this->module({}, name);
}

Answer AdminApi::playScenario(const Request& request, const std::string&)
{
    stand_.play(Scenario::fromJson(bodyOf(request), u"body"_s), {});
    return Answer::json(200, stand_.state());
}

Answer AdminApi::listScenarios(const Request&, const std::string&)
{
    QJsonArray list;
    for (const auto& shipped : shippedScenarios()) {
        const auto missing = stand_.missing(Scenario::fromJson(shipped.stand, shipped.name));
        list.append(QJsonObject{{"name"_L1, shipped.name},
                                {"shows"_L1, shipped.shows},
                                {"settings"_L1, shipped.settings},
                                {"missing"_L1, missing}});
    }
    return Answer::json(200, {{"scenarios"_L1, list}});
}

Answer AdminApi::playShipped(const Request& request, const std::string& name)
{
    refuseBody(request);
    const auto& all = shippedScenarios();
    const auto found = std::find_if(all.begin(), all.end(), [&name](const ShippedScenario& shipped) {
        return shipped.name.toStdString() == name;
    });
    if (found == all.end())
        throw NotFound(u"there is no scenario \"%1\""_s.arg(QString::fromStdString(name)));
    stand_.play(Scenario::fromJson(found->stand, found->name), found->name);
    return Answer::json(200, stand_.state());
}

Answer AdminApi::reset(const Request& request, const std::string&)
{
    refuseBody(request);
    stand_.reset();
    return Answer::json(200, {});
}

}  // namespace marksim
