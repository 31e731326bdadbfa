#include "poshost/story/storybuilder.h"

#include <algorithm>
#include <cstring>

#include <QRegularExpression>

#include "crpt/messages.h"
#include "lmchz/messages.h"
#include "plugin/messages.h"
#include "poshost/terminal/output.h"
#include "result/statusnames.h"
#include <network/messages.h>

namespace poshost {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

constexpr const char* switching = "switch";
constexpr int httpError = 400;

struct NoteRule
{
    QString line;
    TraceNote note;
};

/// The lines of the log that tell what was done.
const QList<NoteRule>& noteRules()  // NOLINT(readability-function-size): a table
{
    using namespace crpt::messages;
    static const QList<NoteRule> rules = {
        {quarantined,
         {"quarantine", {u"the site is out of use for 15 minutes", u"площадка снята на 15 минут"}}},
        {nextSite, {switching, {u"on to the next site", u"переход к следующей площадке"}}},
        {searchBegins,
         {"search",
          {u"no site can be reached, the list is asked for",
           u"доступных площадок нет, список запрашивается"}}},
        {updateRunning,
         {"wait",
          {u"another thread updates the list already, the check waits",
           u"список уже обновляет другой поток, проверка ждёт"}}},
        {siteUnhealthy, {"left-out", {u"left out of the list", u"в список не взята"}}},
        {siteChosen, {"list-updated", {u"the list of sites is updated", u"список площадок обновлён"}}},
        {updateFailed, {"list-failed", {u"the list could not be updated", u"обновить список не удалось"}}},
        {updateBroken, {"list-failed", {u"the update of the list broke off", u"обновление списка прервано"}}},
        {updateCutShort,
         {"list-failed", {u"the update of the list broke off", u"обновление списка прервано"}}},
        {noKeys, {"no-keys", {u"no keys to ask for the list with", u"ключей нет, список запросить нечем"}}},
        {noSites,
         {"no-sites",
          {u"no sites even after the update of the list", u"площадок нет и после обновления списка"}}},
        {crossBorderRetry, {"retry", {u"the same site once more", u"повтор на той же площадке"}}},
        {crossBorderPermitted,
         {"no-verdict",
          {u"the operator gives no verdict and does not ban the sale",
           u"оператор вердикта не даёт, продажу не запрещает"}}},
        {emergency,
         {"no-verdict",
          {u"the operator gives no verdict and does not ban the sale",
           u"оператор вердикта не даёт, продажу не запрещает"}}},
        {budgetSpent,
         {"out-of-time",
          {u"the time of the whole check is over, no verdict of the operator",
           u"время всей проверки вышло, вердикта оператора нет"}}},
        {noToken, {"no-token", {u"no token, the good is not added", u"токена нет, товар не добавляется"}}},
        {tokenRefused,
         {"token-notice", {u"notice for the cashier: key refused", u"сообщение кассиру: ключ не принят"}}},
        {protocolError, {"taken-as-it-is", {u"the reply is taken as it is", u"ответ взят как есть"}}},
        {plugin::messages::moduleNotReady,
         {"module-not-ready", {u"the outcome of the online check stands", u"остаётся итог онлайн-проверки"}}},
        {lmchz::messages::tokenUnknown,
         {"module-unknown", {u"no local module for this key", u"для этого ключа локального модуля нет"}}},
        {plugin::messages::offlineBroken, {"broken", {u"the check broke off", u"проверка прервана"}}},
        {plugin::messages::offlineCheck,
         {"offline",
          {u"the local module is asked for the verdict", u"вердикт спрашивается у локального модуля"}}},
        {lmchz::messages::checkUnavailable,
         {"module-unavailable",
          {u"the outcome of the online check stands", u"остаётся итог онлайн-проверки"}}},
        {plugin::messages::moduleBusy,
         {"module-busy",
          {u"the local module is busy, the outcome of the online check stands",
           u"локальный модуль занят, остаётся итог онлайн-проверки"}}},
        {plugin::messages::checkBroken, {"broken", {u"the check broke off", u"проверка прервана"}}},
    };
    return rules;
}

/// Whether `line` begins as `message` does before the first value.
bool says(const QString& line, const QString& message)
{
    return line.startsWith(message.section(u'%', 0, 0));
}

/// Finds the values in a line that was made of `message`.
QRegularExpression valuesOf(const QString& message, const QString& rest = {})
{
    static const QRegularExpression place(QStringLiteral(R"(\\%\d)"));
    QString pattern = QRegularExpression::escape(message);
    return QRegularExpression(u'^' + pattern.replace(place, QStringLiteral("(.*?)")) + rest + u'$');
}

void addNote(QList<TraceNote>& notes, const QString& line)
{
    const QList<NoteRule>& rules = noteRules();
    const auto rule =
        std::find_if(rules.begin(), rules.end(), [&](const NoteRule& each) { return says(line, each.line); });
    if (rule != rules.end() && (notes.isEmpty() || std::strcmp(notes.last().name, rule->note.name) != 0)) {
        notes.append(rule->note);
    }
}

/// The codes that the end of a check names with their reasons.
QList<RefusedCode> refusedOf(const QString& text)
{
    static const QRegularExpression named(
        QStringLiteral(R"((.+?) \(((?:[A-Za-z]+(?:, |(?=\))))*)(?:«([^»]*)»)?(?:, )?(-?\d+)?\)(?:, |$))"));
    QList<RefusedCode> codes;
    for (const auto& match : named.globalMatch(text)) {
        RefusedCode refused{.code = match.captured(1), .why = {}};
        refused.why.status = statusFromNames(match.captured(2).split(QStringLiteral(", ")));
        refused.why.message = match.captured(3);
        refused.why.errorCode = match.captured(4).toInt();
        codes.append(refused);
    }
    return codes;
}

/// The reply that a line tells of, with the body that a good one has.
http::Response replyOf(const QString& address, int status, const QString& error)
{
    http::Response reply;
    reply.setUrl(QUrl(address));
    reply.setStatus(status);
    reply.setErrorText(tr::Tr({}, error));
    if (status == 0 || (!error.isEmpty() && status < httpError)) {
        reply.setTimeout(error.endsWith(QStringView(http::messages::timeout)));
        reply.setNetworkError(!reply.isTimeout());
    } else if (error.isEmpty()) {
        reply.setBody(R"({"code":0,"description":"ok"})");
    }
    return reply;
}

/// The log announces a switch before anybody knows whether there is another site.
void dropVainSwitches(QList<Step>& steps)
{
    for (qsizetype i = 0; i < steps.size(); ++i) {
        const bool followed = i + 1 < steps.size() && steps[i + 1].purpose == Purpose::Check;
        if (!followed) {
            steps[i].done.removeIf(
                [](const TraceNote& note) { return std::strcmp(note.name, switching) == 0; });
        }
    }
}

}  // namespace

std::optional<QStringList> codesOfBegin(const QString& line)
{
    static const QRegularExpression pattern = valuesOf(crpt::messages::checkBegins);
    const auto match =
        says(line, crpt::messages::checkBegins) ? pattern.match(line) : QRegularExpressionMatch();
    return match.hasMatch() ? std::optional(match.captured(1).split(QStringLiteral(", "))) : std::nullopt;
}

bool isEnd(const QString& line)
{
    return says(line, plugin::messages::checkEnded);
}

void StoryBuilder::add(nanoseconds at, const QString& line)
{
    if (const auto codes = codesOfBegin(line)) {
        m_story.codes = *codes;
    } else if (!addExchange(at, line) && !addEnd(line)) {
        correctClass(line);
        addNote(m_story.steps.isEmpty() ? m_story.before : m_story.steps.last().done, line);
    }
    m_story.total = at;
}

void StoryBuilder::add(nanoseconds at, const http::ExchangeRecord& exchange)
{
    Step step = stepOf(exchange.response, exchange.post);
    step.at = at;
    step.duration = exchange.duration;
    if (m_isLastFromLine) {
        m_story.steps.removeLast();
    }
    m_story.steps.append(std::move(step));
    m_isLastFromLine = false;
}

CheckStory StoryBuilder::story() const
{
    CheckStory story = m_story;
    dropVainSwitches(story.steps);
    return story;
}

bool StoryBuilder::addExchange(nanoseconds at, const QString& line)
{
    static const QRegularExpression pattern =
        valuesOf(http::messages::exchange, QStringLiteral(R"((?:\. (.*?)(?: \(.*)?)?)"));
    const auto match = pattern.match(line);
    const bool post = match.captured(1) == QLatin1String("POST");
    if (!post && match.captured(1) != QLatin1String("GET")) {
        return false;
    }
    Step step = stepOf(replyOf(match.captured(2), match.captured(3).toInt(), match.captured(5)), post);
    step.duration = milliseconds(match.captured(4).toLongLong());
    step.at = std::max(at - step.duration, nanoseconds{0});
    m_story.steps.append(std::move(step));
    m_isLastFromLine = true;
    return true;
}

bool StoryBuilder::addEnd(const QString& line)
{
    static const QRegularExpression pattern = valuesOf(plugin::messages::checkEnded);
    static const QRegularExpression ofSite = valuesOf(plugin::messages::replyOfSite);
    const auto match = pattern.match(line);
    if (!match.hasMatch()) {
        return false;
    }
    const auto reply = ofSite.match(match.captured(4));
    const QString refused = match.captured(2);
    m_story.end = {
        .passed = match.captured(1).toInt(),
        .failed = refused.section(u':', 0, 0).toInt(),
        .refused = refusedOf(refused.section(QStringLiteral(": "), 1)),
        .errorKind = http::ErrorKind(match.captured(3).toInt()),
        .byModule = match.captured(4) == plugin::messages::replyOfModule,
        .httpStatus = reply.captured(1).toInt(),
        .address = reply.hasMatch() ? plainAddress(QUrl(reply.captured(2))) : QString(),
    };
    return true;
}

/// By what a line tells of the reply before it.
void StoryBuilder::correctClass(const QString& line)
{
    static const QRegularExpression state = valuesOf(lmchz::messages::status.trimmed());
    if (!m_isLastFromLine) {
        return;
    }
    Step& step = m_story.steps.last();
    if (says(line, crpt::messages::crossBorderRetry) || says(line, crpt::messages::crossBorderPermitted)) {
        setClass(step, RequestStatus::CrossBorderUnavailable);
    } else if (says(line, crpt::messages::siteUnhealthy) && step.className == QLatin1String("healthy")) {
        setClass(step, "unhealthy", said({u"the site is not healthy", u"площадка неисправна"}));
    } else if (const auto match = state.match(line.trimmed());
               match.hasMatch() && step.className.endsWith(QLatin1String("ready"))) {
        setModuleState(step, match.captured(1));
    }
}

}  // namespace poshost
