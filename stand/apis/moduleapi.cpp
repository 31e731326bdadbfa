#include "stand/apis/moduleapi.h"

#include "stand/apis/checkreply.h"
#include "stand/faults/codelist.h"

#include <QDateTime>
#include <QUuid>

namespace marksim {

using namespace Qt::StringLiterals;

namespace {

const auto version = u"1.5.2-141"_s;
const auto notConfigured = u"not_configured"_s;
const auto initialization = u"initialization"_s;
const auto ready = u"ready"_s;

/// The module's own numbers of what went wrong.
enum ModuleError { BadRequest = 1, WrongToken = 3, NotReady = 5 };

Answer moduleRefusal(int status, ModuleError error, const QString& text)
{
    return Answer::json(status, {{"errorCode"_L1, error}, {"errorMessage"_L1, text}});
}

}  // namespace

ModuleApi::ModuleApi(ModuleSetup setup, const Goods& sharedGoods)
    : m_setup(std::move(setup))
    , m_shared(sharedGoods)
    , m_inst(QUuid::createUuid().toString(QUuid::WithoutBraces))
    , m_greyList(QJsonValue::Null)
{
    setState(m_setup.state);
}

Api ModuleApi::api()
{
    return {{{"status"_L1, "GET", "/api/v2/status",
              [this](const Request&, const QJsonObject&) { return status(); }},
             {"init"_L1, "POST", "/api/v2/init",
              [this](const Request& request, const QJsonObject&) { return initialise(request); }},
             {"outCheck"_L1, "POST", "/api/v2/cis/outCheck",
              [this](const Request& request, const QJsonObject& answers) { return check(request, answers); }},
             {"greyList"_L1, "POST", "/api/v2/greyList",
              [this](const Request& request, const QJsonObject&) { return switchGreyList(request); }}},
            [this](const Request& request) { return refusal(request); }};
}

std::optional<Answer> ModuleApi::refusal(const Request& request) const
{
    const auto credentials = (m_setup.user + u':' + m_setup.password).toUtf8().toBase64().toStdString();
    if (headerOf(request, "Authorization") == "Basic " + credentials) {
        return std::nullopt;
    }
    auto answer = Answer::refusal(401, u"Unauthorized"_s);
    answer.setHeader("WWW-Authenticate", "Basic realm=\"module\"");
    return answer;
}

QString ModuleApi::state() const
{
    const bool done = m_state == initialization && std::chrono::steady_clock::now() >= m_readyAt;
    return done ? ready : m_state;
}

void ModuleApi::setState(const QString& state)
{
    m_state = state;
    m_readyAt = std::chrono::steady_clock::now() + m_setup.readyAfter;
}

QJsonObject ModuleApi::toJson() const
{
    return {{"state"_L1, state()},       {"readyAfterMs"_L1, static_cast<qint64>(m_setup.readyAfter.count())},
            {"user"_L1, m_setup.user},   {"password"_L1, m_setup.password},
            {"token"_L1, m_setup.token}, {"greyList"_L1, m_greyList}};
}

Answer ModuleApi::status() const
{
    const bool isReady = state() == ready;
    return Answer::json(200, {{"status"_L1, state()},
                              {"version"_L1, version},
                              {"inst"_L1, m_inst},
                              {"operationMode"_L1, u"active"_s},
                              {"lastSync"_L1, isReady ? QDateTime::currentMSecsSinceEpoch() : 0},
                              {"requiresDownload"_L1, !isReady}});
}

/// Of an order that is given with the module's token and may, or must, say something of the grey list.
std::optional<Answer> ModuleApi::orderRefusal(const QJsonValue& order, bool mayBeSilent,
                                              const QString& wrongToken) const
{
    const auto greyList = order["enableGreyList"_L1];
    if (!order["token"_L1].isString() || !(greyList.isBool() || (mayBeSilent && greyList.isUndefined()))) {
        return moduleRefusal(400, BadRequest,
                             u"\"token\" must be a text, \"enableGreyList\" true or false"_s);
    }
    if (order["token"_L1] != m_setup.token) {
        return moduleRefusal(403, WrongToken, wrongToken);
    }
    return std::nullopt;
}

Answer ModuleApi::initialise(const Request& request)
{
    const auto order = jsonBodyOf(request);
    if (const auto refused = orderRefusal(order, true, u"the operator does not know the token"_s)) {
        return *refused;
    }
    m_greyList = order["enableGreyList"_L1].isUndefined() ? m_greyList : order["enableGreyList"_L1];
    if (state() == notConfigured) {
        setState(initialization);
    }
    return Answer::json(200, {{"status"_L1, state()}});
}

Answer ModuleApi::switchGreyList(const Request& request)
{
    const auto order = jsonBodyOf(request);
    if (const auto refused = orderRefusal(order, false, u"the token is not the one of this module"_s)) {
        return *refused;
    }
    m_greyList = order["enableGreyList"_L1];
    return Answer::json(200, {{"enableGreyList"_L1, m_greyList}});
}

Answer ModuleApi::check(const Request& request, const QJsonObject& answers) const
{
    const auto codes = requestedCodes(jsonBodyOf(request)["cis_list"_L1], "cis"_L1);
    if (!codes) {
        return moduleRefusal(400, BadRequest, u"\"cis_list\" must be an array of {\"cis\": text}"_s);
    }
    if (state() != ready) {
        return moduleRefusal(503, NotReady, u"the module is not ready"_s);
    }
    const auto list = editedEntries(
        *codes, answers, [this](const QString& cis) { return offlineEntry(m_setup.goods, m_shared, cis); });
    QJsonArray results;
    for (const auto& group : grouped(list, answers)) {
        results.append(checkReply(group, m_inst, version));
    }
    return Answer::json(200, {{"results"_L1, results}});
}

}  // namespace marksim
