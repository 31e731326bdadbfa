#include "poshost/reports/storyreport.h"

#include <algorithm>
#include <array>

#include "poshost/language.h"
#include "poshost/reports/explanationtext.h"
#include "poshost/reports/statustext.h"
#include "poshost/terminal/jsonvalues.h"
#include "poshost/terminal/output.h"
#include "result/statusnames.h"

namespace poshost {

namespace {

struct OutcomeEntry
{
    const char* name;
    Text words;
};

/// By Outcome.
constexpr std::array<OutcomeEntry, 4> outcomes = {{{"passed", {u"✓ passed", u"✓ прошли"}},
                                                   {"refused", {u"✗ REFUSED", u"✗ ОТКАЗ"}},
                                                   {"permitted", {u"! NO CHECK", u"! БЕЗ ПРОВЕРКИ", true}},
                                                   {"unfinished", {u"? NOT FINISHED", u"? НЕ ЗАКОНЧЕНА"}}}};

const OutcomeEntry& entryOf(const CheckStory& story)
{
    return outcomes.at(size_t(story.outcome()));
}

/// With the reply, where no step tells of it.
Decision decisionOf(const CheckStory& story)
{
    if (!story.end) {
        return {.words = said({u"unknown, the log has no end of the check",
                               u"неизвестно, в журнале нет итога проверки"})};
    }
    Decision decision = decisionOf(*story.end);
    const QString& address = story.end->address;
    if (!address.isEmpty() && std::none_of(story.steps.begin(), story.steps.end(),
                                           [&](const Step& step) { return step.address == address; })) {
        decision.words += QStringLiteral(" (HTTP %1, %2)").arg(story.end->httpStatus).arg(address);
    }
    return decision;
}

/// "<code>: already sold, error 7", one a line.
QString refusedLines(const CheckEnd& end)
{
    QString text;
    for (const RefusedCode& refused : end.refused) {
        QStringList reasons = statusWords(refused.why, Deal::Sale);
        if (!refused.why.message.isEmpty()) {
            reasons.append(u'«' + refused.why.message + u'»');
        }
        if (refused.why.errorCode != 0) {
            reasons.append(said({u"error %1", u"ошибка %1"}).arg(refused.why.errorCode));
        }
        text += QStringLiteral("   ✗ %1: %2\n")
                    .arg(oneLine(refused.code), oneLine(reasons.join(QLatin1String(", "))));
    }
    const qsizetype more = end.failed - end.refused.size();
    return text + (text.isEmpty() || more <= 0 ? QString()
                                               : said({u"   ✗ and %1 more\n", u"   ✗ и ещё %1\n"}).arg(more));
}

QJsonObject refusedJson(const RefusedCode& refused)
{
    return {{QStringLiteral("code"), refused.code},
            {QStringLiteral("reasons"), QJsonArray::fromStringList(statusNames(refused.why.status))},
            {QStringLiteral("message"), refused.why.message},
            {QStringLiteral("errorCode"), refused.why.errorCode}};
}

}  // namespace

QString storyText(const CheckStory& story)
{
    QString text = said({u"%1  %2: codes %3", u"%1  %2: кодов %3"})
                       .arg(story.begin.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")),
                            said(entryOf(story).words), QString::number(story.codes.size()));
    if (story.end) {
        text += said({u", refused %1", u", отказано %1"}).arg(story.end->failed);
    }
    text += said({u"  (thread %1)\n", u"  (поток %1)\n"}).arg(story.thread);
    for (const QString& code : story.codes) {
        text += QStringLiteral("   %1\n").arg(oneLine(code));
    }
    text += story.end ? refusedLines(*story.end) : QString();
    return text + explanationText(story, decisionOf(story)) + u'\n';
}

QString storyJson(const CheckStory& story)
{
    QJsonObject object = explanationJson(story, decisionOf(story));
    object.insert(QStringLiteral("begin"), story.begin.toString(Qt::ISODateWithMs));
    object.insert(QStringLiteral("thread"), story.thread);
    object.insert(QStringLiteral("codes"), QJsonArray::fromStringList(story.codes));
    object.insert(QStringLiteral("outcome"), QString::fromUtf8(entryOf(story).name));
    object.insert(QStringLiteral("passed"), story.end ? QJsonValue(story.end->passed) : QJsonValue());
    object.insert(QStringLiteral("failed"), story.end ? QJsonValue(story.end->failed) : QJsonValue());
    object.insert(QStringLiteral("refused"),
                  story.end ? arrayOf(story.end->refused, refusedJson) : QJsonArray());
    return jsonLine(object);
}

}  // namespace poshost
