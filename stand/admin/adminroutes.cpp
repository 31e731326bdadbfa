// What the methods of the admin port do.

#include "stand/admin/adminapi.h"
#include "stand/admin/tillsettings.h"
#include "stand/apis/checkreply.h"
#include "stand/scenario/scenario.h"
#include "stand/stand.h"

#include <algorithm>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

// Many more than anybody switches on or edits by hand.
constexpr qsizetype maxBehaviours = 1000;
constexpr qsizetype maxGoods = 10'000;

/// A parameter that is a number; 0 when it is missing.
std::uint64_t number(const AdminCall& call, const std::string& name)
{
    const auto found = call.parameters.find(name);
    if (found == call.parameters.end()) {
        return 0;
    }
    bool isNumber = false;
    const auto value = QByteArray::fromStdString(found->second).toULongLong(&isNumber);
    if (!isNumber) {
        throw InputError(u"\"%1\" must be a number"_s.arg(QString::fromStdString(name)));
    }
    return value;
}

bool isSet(const AdminCall& call, const std::string& name)
{
    const auto value = number(call, name);
    if (value > 1) {
        throw InputError(u"\"%1\" must be 0 or 1"_s.arg(QString::fromStdString(name)));
    }
    return value == 1;
}

QJsonValue body(const AdminCall& call)
{
    return parseJson(QByteArray::fromStdString(call.request.body()), u"body"_s);
}

QList<SimulatedServer*> servers(const AdminCall& call)
{
    auto found = call.stand.find(call.name);
    if (found.isEmpty()) {
        throw NotFound(u"there is no server \"%1\""_s.arg(call.name));
    }
    return found;
}

ModuleApi& module(const AdminCall& call)
{
    auto* module = call.stand.module(call.name);
    if (!module) {
        throw NotFound(u"there is no module \"%1\""_s.arg(call.name));
    }
    return *module;
}

QJsonObject state(const AdminCall& call)
{
    return call.admin.state();
}

Answer settingsOfTill(const AdminCall& call)
{
    const auto settings = tillSettings(call.stand.addresses());
    return {200, {{"Content-Type", "text/plain;charset=UTF-8"}}, settings.toStdString()};
}

QJsonObject requests(const AdminCall& call)
{
    RequestFilter filter;
    filter.since = number(call, "since");
    filter.last = number(call, "last");
    filter.brief = isSet(call, "brief");
    filter.connections = isSet(call, "connections");
    if (const auto server = call.parameters.find("server"); server != call.parameters.end()) {
        filter.server = QString::fromStdString(server->second);
        if (call.stand.find(filter.server).size() != 1) {
            throw InputError(u"there is no server \"%1\""_s.arg(filter.server));
        }
    }
    return call.stand.log().toJson(filter);
}

QJsonObject oneRequest(const AdminCall& call)
{
    const auto* entry = call.stand.log().find(call.name.toULongLong());
    if (!entry) {
        throw NotFound(u"there is no such request, or no longer"_s);
    }
    return entry->toJson();
}

QJsonObject forgetRequests(const AdminCall& call)
{
    call.stand.log().clear();
    return {};
}

QJsonObject behaviours(const AdminCall& call)
{
    QJsonObject lists;
    for (const auto* server : servers(call)) {
        lists[server->name()] = toJson(server->behaviours());
    }
    return lists;
}

/// Has `change` make new behaviours of the old ones, for every server that is named or, when it throws, for
/// none.
template <typename Change>
QJsonObject changeBehaviours(const AdminCall& call, Change change)
{
    QList<Behaviours> changed;
    for (const auto* server : servers(call)) {
        changed << change(server->behaviours());
        if (changed.back().size() > std::max(maxBehaviours, server->behaviours().size())) {
            throw InputError(u"body: a server has at most %1 behaviours"_s.arg(maxBehaviours));
        }
    }
    for (auto* server : servers(call)) {
        server->setBehaviours(changed.takeFirst());
    }
    return behaviours(call);
}

QJsonObject setBehaviours(const AdminCall& call)
{
    const auto given = readBehaviours(body(call), u"body"_s);
    return changeBehaviours(call, [&given](const Behaviours&) { return given; });
}

QJsonObject addBehaviours(const AdminCall& call)
{
    const auto given = readBehaviours(body(call), u"body"_s);
    const bool first = isSet(call, "first");
    return changeBehaviours(call, [&](const Behaviours& old) { return first ? given + old : old + given; });
}

QJsonObject removeBehaviours(const AdminCall& call)
{
    if (call.request.body().empty()) {
        return changeBehaviours(call, [](const Behaviours&) { return Behaviours(); });
    }
    const auto given = readBehaviours(body(call), u"body"_s);
    return changeBehaviours(call, [&given](const Behaviours& old) { return without(old, given); });
}

QJsonObject goods(const AdminCall& call)
{
    QJsonArray list;
    for (const auto& good : call.stand.goods().all()) {
        list.append(good.toJson());
    }
    return {{"goods"_L1, list}};
}

QJsonObject good(const AdminCall& call)
{
    const auto& goods = call.stand.goods();
    const auto* good = goods.byCode(call.name);
    if (!good) {
        throw NotFound(u"the code is not listed"_s);
    }
    auto object = good->toJson();
    object["reply"_L1] = QJsonObject{{"online"_L1, onlineEntry(goods, good->parts.text)},
                                     {"offline"_L1, offlineEntry({}, goods, good->parts.cis)}};
    return object;
}

QJsonObject setGood(const AdminCall& call)
{
    auto& goods = call.stand.goods();
    const auto value = body(call);
    auto source = value.toObject();
    if (!value.isObject() || source.value("code"_L1).toString(call.name) != call.name) {
        throw InputError(u"body: must be an object {...} without \"code\" or with that of the path"_s);
    }
    source["code"_L1] = call.name;
    if (goods.all().size() >= maxGoods && !goods.byCode(call.name)) {
        throw InputError(u"there are %1 goods already"_s.arg(maxGoods));
    }
    validate(source, u"body"_s, "good"_L1);
    goods.put(Good::fromJson(source));
    return good(call);
}

QJsonObject removeGood(const AdminCall& call)
{
    if (!call.stand.goods().remove(call.name)) {
        throw NotFound(u"the code is not listed"_s);
    }
    return {};
}

QJsonObject oneModule(const AdminCall& call)
{
    return module(call).toJson();
}

QJsonObject setModule(const AdminCall& call)
{
    auto& changed = module(call);
    const auto change = body(call);
    validate(change, u"body"_s, "moduleChange"_L1);
    if (const auto wait = change["readyAfterMs"_L1]; !wait.isUndefined()) {
        changed.setReadyAfter(std::chrono::milliseconds(wait.toInt()));
    }
    if (const auto state = change["state"_L1]; !state.isUndefined()) {
        changed.setState(state.toString());
    }
    return changed.toJson();
}

QJsonObject playScenario(const AdminCall& call)
{
    const auto scenario = body(call);
    validate(scenario, u"body"_s);
    call.stand.play(scenario.toObject(), {});
    return call.admin.state();
}

QJsonObject scenarios(const AdminCall& call)
{
    QJsonArray list;
    for (const auto& shipped : shippedScenarios()) {
        list.append(QJsonObject{{"name"_L1, shipped.name},
                                {"shows"_L1, shipped.shows},
                                {"settings"_L1, shipped.settings},
                                {"missing"_L1, call.stand.missing(shipped.stand)}});
    }
    return {{"scenarios"_L1, list}};
}

QJsonObject playShipped(const AdminCall& call)
{
    const auto* found = findShipped(call.name);
    if (!found) {
        throw NotFound(u"there is no scenario \"%1\""_s.arg(call.name));
    }
    call.stand.play(found->stand, found->name);
    return call.admin.state();
}

QJsonObject reset(const AdminCall& call)
{
    call.stand.reset();
    return {};
}

template <QJsonObject (*handle)(const AdminCall& call)>
Answer inJson(const AdminCall& call)
{
    return Answer::json(200, handle(call));
}

}  // namespace

const std::vector<AdminRoute>& adminRoutes()
{
    constexpr bool takesBody = true;
    static const std::vector<AdminRoute> routes = {
        {"GET", "/state", inJson<state>},
        {"GET", "/till.ini", settingsOfTill},
        {"GET", "/requests", inJson<requests>, false, {"since", "server", "last", "brief", "connections"}},
        {"DELETE", "/requests", inJson<forgetRequests>},
        {"GET", "/requests/", inJson<oneRequest>},
        {"GET", "/behaviours/", inJson<behaviours>},
        {"PUT", "/behaviours/", inJson<setBehaviours>, takesBody},
        {"POST", "/behaviours/", inJson<addBehaviours>, takesBody, {"first"}},
        {"DELETE", "/behaviours/", inJson<removeBehaviours>, takesBody},
        {"GET", "/goods", inJson<goods>},
        {"GET", "/goods/", inJson<good>},
        {"PUT", "/goods/", inJson<setGood>, takesBody},
        {"DELETE", "/goods/", inJson<removeGood>},
        {"GET", "/modules/", inJson<oneModule>},
        {"PUT", "/modules/", inJson<setModule>, takesBody},
        {"PUT", "/scenario", inJson<playScenario>, takesBody},
        {"GET", "/scenarios", inJson<scenarios>},
        {"POST", "/scenarios/", inJson<playShipped>},
        {"POST", "/reset", inJson<reset>},
    };
    return routes;
}

}  // namespace marksim
