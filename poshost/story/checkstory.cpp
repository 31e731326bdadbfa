#include "poshost/story/checkstory.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <QJsonObject>

#include "poshost/terminal/output.h"

namespace poshost {

namespace {

using std::chrono::nanoseconds;

struct PurposeEntry
{
    const char* pathEnd;
    const char* name;
    Text words;
};

/// By Purpose.
constexpr std::array<PurposeEntry, purposes> purposeEntries = {{
    {"/codes/check", "check", {u"check of codes", u"проверка кодов"}},
    {"/cdn/info", "list", {u"list of sites", u"список площадок"}},
    {"/cdn/health/check", "probe", {u"probe of a site", u"замер площадки"}},
    {"/api/v2/status", "module-status", {u"state of the local module", u"состояние локального модуля"}},
    {"/api/v2/cis/outCheck", "module-check", {u"check by the local module", u"проверка локальным модулем"}},
    {"", "other", {u"another request", u"другой запрос"}},
}};

struct StatusEntry
{
    const char* name;
    Text words;
};

/// By RequestStatus.
constexpr std::array<StatusEntry, 9> statusEntries = {{
    {"ok", {u"reply accepted", u"ответ принят"}},
    {"failed", {u"reply without \"ok\", taken as it is", u"ответ без «ok», принят как есть"}},
    {"server-error", {u"server error", u"ошибка сервера"}},
    {"cross-border-unavailable",
     {u"no connection to the cross-border check", u"нет связи с трансграничной проверкой"}},
    {"emergency",
     {u"emergency, the ban on sales is lifted", u"аварийная ситуация, запрет на продажу отключён"}},
    {"incorrect-token", {u"key refused", u"ключ не принят"}},
    {"protocol-error", {u"protocol error", u"ошибка протокола"}},
    {"timeout", {u"timed out", u"время вышло"}},
    {"network-error", {u"no connection", u"нет связи"}},
}};

const StatusEntry& entryOf(RequestStatus status)
{
    return statusEntries.at(size_t(status));
}

Purpose purposeOf(const QUrl& url)
{
    const QString path = url.path();
    const auto* found =
        std::find_if(purposeEntries.begin(), purposeEntries.end(),
                     [&](const PurposeEntry& entry) { return path.endsWith(QLatin1String(entry.pathEnd)); });
    return Purpose(found - purposeEntries.begin());  // the last one fits every path
}

void classifyProbe(Step& step, const http::Response& reply)
{
    const QJsonValue code = reply.responseObject().value(QLatin1String("code"));
    const bool healthy = !code.isUndefined() && code.toInt() == 0;
    setClass(step, healthy ? "healthy" : "unhealthy",
             healthy ? said({u"the site is healthy", u"площадка исправна"})
                     : said({u"the site is not healthy", u"площадка неисправна"}));
}

void classify(Step& step, const http::Response& reply)
{
    const bool nothingCame = reply.isTimeout() || reply.isNetworkError();
    if (step.purpose == Purpose::Check || step.purpose == Purpose::SiteList) {
        setClass(step, requestStatusOf(reply));
    } else if (nothingCame) {
        setClass(step, reply.isTimeout() ? RequestStatus::Timeout : RequestStatus::NetworkError);
    } else if (step.purpose == Purpose::Probe) {
        classifyProbe(step, reply);
    } else if (step.purpose == Purpose::ModuleStatus) {
        setModuleState(step, reply.responseObject().value(QLatin1String("status")).toString());
    } else {
        constexpr int httpOk = 200;
        const bool answered = reply.status() == httpOk;
        setClass(step, answered ? "answered" : "not-answered",
                 answered ? said({u"it answered", u"ответ получен"})
                          : said({u"it did not answer", u"не ответил"}));
    }
}

}  // namespace

bool Step::wasDone(const char* note) const
{
    return std::any_of(done.begin(), done.end(),
                       [note](const TraceNote& each) { return std::string_view(each.name) == note; });
}

Outcome CheckStory::outcome() const
{
    if (!end) {
        return Outcome::Unfinished;
    }
    if (end->failed > 0) {
        return Outcome::Refused;
    }
    return end->errorKind == http::ErrorKind::SalePermitted ? Outcome::Permitted : Outcome::Passed;
}

bool CheckStory::isTrouble() const
{
    const auto isPlain = [](const Step& step) {
        return step.done.isEmpty() && step.className == QLatin1String(entryOf(RequestStatus::Ok).name);
    };
    return !end || end->errorKind != http::ErrorKind::None || end->byModule || !before.isEmpty() ||
           !std::all_of(steps.begin(), steps.end(), isPlain);
}

nanoseconds CheckStory::spentOn(Purpose purpose) const
{
    nanoseconds sum{0};
    for (const Step& step : steps) {
        sum += step.purpose == purpose ? step.duration : nanoseconds{0};
    }
    return sum;
}

nanoseconds CheckStory::spentElsewhere() const
{
    nanoseconds rest = total;
    for (const Step& step : steps) {
        rest -= step.duration;
    }
    return std::max(rest, nanoseconds{0});  // a log has whole milliseconds
}

QString purposeName(Purpose purpose)
{
    return QString::fromUtf8(purposeEntries.at(size_t(purpose)).name);
}

QString purposeWords(Purpose purpose)
{
    return said(purposeEntries.at(size_t(purpose)).words);
}

Step stepOf(const http::Response& reply, bool post)
{
    Step step;
    step.purpose = purposeOf(reply.url());
    step.post = post;
    step.address = plainAddress(reply.url());
    step.httpStatus = reply.status();
    // A copy of the characters: the text may lie in the plug-in's library.
    step.error = oneLine(reply.errorText().ru());
    classify(step, reply);
    return step;
}

void setModuleState(Step& step, const QString& state)
{
    if (state == QLatin1String("ready")) {
        setClass(step, "ready", said({u"the module is ready", u"модуль готов"}));
    } else {
        constexpr qsizetype enough = 40;
        setClass(step, "not-ready",
                 said({u"the module is not ready (%1)", u"модуль не готов (%1)"})
                     .arg(oneLine(state.left(enough))));
    }
}

void setClass(Step& step, RequestStatus status)
{
    const StatusEntry& entry = entryOf(status);
    setClass(step, entry.name, said(entry.words));
}

void setClass(Step& step, const char* name, const QString& words)
{
    step.className = QString::fromUtf8(name);
    step.classWords = words;
}

QString plainAddress(const QUrl& url)
{
    return shownAddress(url.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment));
}

QString siteOf(const QString& address)
{
    return plainAddress(QUrl(address).adjusted(QUrl::RemovePath));
}

}  // namespace poshost
