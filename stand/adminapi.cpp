#include "adminapi.h"

#include "stand.h"

#include <boost/asio/ip/address.hpp>
#include <charconv>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

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

void refuseParameters(const Request& request, std::initializer_list<std::string_view> known)
{
    for (const auto& [name, value] : request.query) {
        if (std::find(known.begin(), known.end(), name) == known.end())
            throw InputError(u"unknown parameter \"%1\""_s.arg(QString::fromStdString(name)));
    }
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

QJsonValue bodyOf(const Request& request)
{
    return parseJson(QByteArray::fromStdString(request.body), u"body"_s);
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
    {"GET", "/requests", &AdminApi::requests},
    {"DELETE", "/requests", &AdminApi::forgetRequests},
    {"GET", "/behaviours/", &AdminApi::behaviours},
    {"PUT", "/behaviours/", &AdminApi::setBehaviours},
    {"POST", "/behaviours/", &AdminApi::appendBehaviours},
    {"DELETE", "/behaviours/", &AdminApi::clearBehaviours},
    {"GET", "/goods", &AdminApi::listGoods},
    {"GET", "/goods/", &AdminApi::good},
    {"PUT", "/goods/", &AdminApi::setGood},
    {"DELETE", "/goods/", &AdminApi::removeGood},
    {"GET", "/modules/", &AdminApi::module},
    {"PUT", "/modules/", &AdminApi::setModule},
    {"PUT", "/scenario", &AdminApi::playScenario},
    {"POST", "/reset", &AdminApi::reset},
};

Exchange AdminApi::serve(const Request& request, const ConnectionInfo&)
{
    return planExchange(answer(request), {}, request);
}

Answer AdminApi::refusal(int status, const QString& reason) const
{
    return problem(status, reason);
}

Answer AdminApi::answer(const Request& request)
{
    if (isForeign(request))
        return problem(403, u"this address answers programs and its own pages only"_s);
    bool known = false;
    for (const auto& route : routes) {
        const bool named = route.path.ends_with('/') && request.path.size() > route.path.size();
        if (!(named ? request.path.starts_with(route.path) : request.path == route.path))
            continue;
        known = true;
        if (route.verb != request.verb)
            continue;
        try {
            return (this->*route.handle)(request, request.path.substr(route.path.size()));
        } catch (const NotFound& error) {
            return problem(404, QString::fromUtf8(error.what()));
        } catch (const InputError& error) {
            return problem(400, QString::fromUtf8(error.what()));
        }
    }
    return known ? problem(405, u"the path does not take this method"_s)
                 : problem(404, u"there is no such path"_s);
}

Answer AdminApi::state(const Request& request, const std::string&)
{
    refuseParameters(request, {});
    return Answer::json(200, stand_.state());
}

Answer AdminApi::requests(const Request& request, const std::string&)
{
    refuseParameters(request, {"since", "server"});
    const auto server = request.query.find("server");
    const bool all = server == request.query.end();
    if (!all && stand_.find(server->second).size() != 1)
        throw InputError(u"there is no server \"%1\""_s.arg(QString::fromStdString(server->second)));
    return Answer::json(200, stand_.log().toJson(readNumber(request, "since"), all ? "" : server->second));
}

Answer AdminApi::forgetRequests(const Request&, const std::string&)
{
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
    for (auto* server : serversNamed(stand_, name))
        server->setBehaviours(list);
    return behaviours(request, name);
}

Answer AdminApi::appendBehaviours(const Request& request, const std::string& name)
{
    const auto list = behavioursFromJson(bodyOf(request), u"body"_s);
    for (auto* server : serversNamed(stand_, name))
        server->appendBehaviours(list);
    return behaviours(request, name);
}

Answer AdminApi::clearBehaviours(const Request& request, const std::string& name)
{
    for (auto* server : serversNamed(stand_, name))
        server->setBehaviours({});
    return behaviours(request, name);
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
    return Answer::json(200, good->toJson());
}

Answer AdminApi::setGood(const Request& request, const std::string& name)
{
    const auto code = QString::fromStdString(name);
    const auto body = bodyOf(request);
    auto source = body.toObject();
    if (!body.isObject() || source.value("code"_L1).toString(code) != code)
        throw InputError(u"body: must be an object {...} without \"code\" or with that of the path"_s);
    source["code"_L1] = code;
    stand_.goods().put(Good::fromJson(source, u"body"_s));
    return good(request, name);
}

Answer AdminApi::removeGood(const Request&, const std::string& name)
{
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
    return this->module(request, name);
}

Answer AdminApi::playScenario(const Request& request, const std::string&)
{
    stand_.play(Scenario::fromJson(bodyOf(request), u"body"_s));
    return Answer::json(200, stand_.state());
}

Answer AdminApi::reset(const Request&, const std::string&)
{
    stand_.reset();
    return Answer::json(200, {});
}

}  // namespace marksim
