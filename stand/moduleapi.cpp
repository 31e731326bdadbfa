#include "moduleapi.h"

#include "checkreply.h"

#include <QDateTime>
#include <QUuid>
#include <array>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr std::array<Route, 4> moduleRoutes = {{{"status", "GET", "/api/v2/status"},
                                                {"init", "POST", "/api/v2/init"},
                                                {"outCheck", "POST", "/api/v2/cis/outCheck"},
                                                {"greyList", "POST", "/api/v2/greyList"}}};

/// The module's own numbers of what went wrong.
enum ModuleError { BadRequest = 1, WrongToken = 3, NotReady = 5 };

Answer moduleRefusal(int status, ModuleError error, const QString& text)
{
    return Answer::json(status, {{"errorCode"_L1, error}, {"errorMessage"_L1, text}});
}

std::optional<QStringList> requestedCodes(const Request& request)
{
    const QJsonValue codes = request.object().value_or(QJsonObject()).value("cis_list"_L1);
    if (!codes.isArray())
        return std::nullopt;
    QStringList list;
    const auto array = codes.toArray();
    for (const auto& code : array) {
        if (!code["cis"_L1].isString())
            return std::nullopt;
        list << code["cis"_L1].toString();
    }
    return list;
}

/// The entries in `groups` parts of about the same size, each a reply of its own.
QJsonArray grouped(const QJsonArray& list, int groups, const QString& inst)
{
    QJsonArray results;
    qsizetype next = 0;
    for (int group = 1; group <= groups; ++group) {
        const auto end = list.size() * group / groups;
        QJsonArray part;
        for (; next < end; ++next)
            part.append(list[next]);
        results.append(checkReply(part, inst, u"1.5.2-141"_s));
    }
    return results;
}

}  // namespace

QString moduleStateName(ModuleState state)
{
    switch (state) {
    case ModuleState::NotConfigured:
        return u"not_configured"_s;
    case ModuleState::Initialization:
        return u"initialization"_s;
    case ModuleState::Ready:
        return u"ready"_s;
    case ModuleState::SyncError:
        break;
    }
    return u"sync_error"_s;
}

std::optional<ModuleState> moduleStateFromName(const QString& name)
{
    for (const auto state : {ModuleState::NotConfigured, ModuleState::Initialization, ModuleState::Ready,
                             ModuleState::SyncError}) {
        if (moduleStateName(state) == name)
            return state;
    }
    return std::nullopt;
}

ModuleApi::ModuleApi(ModuleSetup setup, const Goods& sharedGoods)
    : setup_(std::move(setup))
    , shared_(sharedGoods)
    , inst_(QUuid::createUuid().toString(QUuid::WithoutBraces))
    , state_(setup_.state)
{
    setState(setup_.state);
}

std::span<const Route> ModuleApi::routes() const
{
    return moduleRoutes;
}

std::optional<Answer> ModuleApi::refusal(const Request& request) const
{
    const auto credentials = (setup_.user + u':' + setup_.password).toUtf8().toBase64().toStdString();
    if (request.header("Authorization") == "Basic " + credentials)
        return std::nullopt;
    auto answer = Answer::refusal(401, u"Unauthorized"_s);
    answer.headers.emplace_back("WWW-Authenticate", "Basic realm=\"module\"");
    return answer;
}

ModuleState ModuleApi::state() const
{
    const bool done = state_ == ModuleState::Initialization && std::chrono::steady_clock::now() >= readyAt_;
    return done ? ModuleState::Ready : state_;
}

void ModuleApi::setState(ModuleState state)
{
    state_ = state;
    readyAt_ = std::chrono::steady_clock::now() + setup_.readyAfter;
}

QJsonObject ModuleApi::toJson() const
{
    return {{"state"_L1, moduleStateName(state())},
            {"readyAfterMs"_L1, static_cast<qint64>(setup_.readyAfter.count())},
            {"user"_L1, setup_.user},
            {"password"_L1, setup_.password},
            {"token"_L1, setup_.token},
            {"greyList"_L1, greyList_ ? QJsonValue(*greyList_) : QJsonValue()}};
}

Answer ModuleApi::answer(std::string_view method, const Request& request, const Twist& twist)
{
    if (method == "status")
        return status();
    if (method == "init")
        return initialise(request);
    return method == "greyList" ? switchGreyList(request) : check(request, twist);
}

Answer ModuleApi::status() const
{
    const auto now = QDateTime::currentMSecsSinceEpoch();
    return Answer::json(200, {{"status"_L1, moduleStateName(state())},
                              {"version"_L1, u"1.5.2-141"_s},
                              {"inst"_L1, inst_},
                              {"operationMode"_L1, u"active"_s},
                              {"lastSync"_L1, state() == ModuleState::Ready ? now : 0},
                              {"requiresDownload"_L1, state() != ModuleState::Ready}});
}

Answer ModuleApi::initialise(const Request& request)
{
    const auto body = request.object().value_or(QJsonObject());
    const auto greyList = body["enableGreyList"_L1];
    if (!body["token"_L1].isString() || !(greyList.isUndefined() || greyList.isBool()))
        return moduleRefusal(400, BadRequest,
                             u"\"token\" must be a text, \"enableGreyList\" true or false"_s);
    if (body["token"_L1].toString() != setup_.token)
        return moduleRefusal(403, WrongToken, u"the operator does not know the token"_s);
    if (greyList.isBool())
        greyList_ = greyList.toBool();
    if (state() == ModuleState::NotConfigured)
        setState(ModuleState::Initialization);
    return Answer::json(200, {{"status"_L1, moduleStateName(state())}});
}

Answer ModuleApi::check(const Request& request, const Twist& twist) const
{
    const auto codes = requestedCodes(request);
    if (!codes)
        return moduleRefusal(400, BadRequest, u"\"cis_list\" must be an array of {\"cis\": text}"_s);
    if (state() != ModuleState::Ready)
        return moduleRefusal(503, NotReady, u"the module is not ready"_s);
    const auto list = entries(
        *codes, twist, [this](const QString& cis) { return offlineEntry(setup_.goods, shared_, cis); });
    return Answer::json(200, {{"results"_L1, grouped(list, twist.groups, inst_)}});
}

Answer ModuleApi::switchGreyList(const Request& request)
{
    const auto body = request.object().value_or(QJsonObject());
    if (!body["token"_L1].isString() || !body["enableGreyList"_L1].isBool())
        return moduleRefusal(400, BadRequest,
                             u"\"token\" must be a text, \"enableGreyList\" true or false"_s);
    if (body["token"_L1].toString() != setup_.token)
        return moduleRefusal(403, WrongToken, u"the token is not the one of this module"_s);
    greyList_ = body["enableGreyList"_L1].toBool();
    return Answer::json(200, {{"enableGreyList"_L1, *greyList_}});
}

}  // namespace marksim
