#include "poshost/reports/explanationtext.h"

#include <cmath>

#include "poshost/language.h"
#include "poshost/reports/statustext.h"
#include "poshost/terminal/jsonvalues.h"

namespace poshost {

namespace {

using std::chrono::nanoseconds;

/// With one digit after the point.
double toMs(nanoseconds duration)
{
    constexpr double tenthsOfMs = 1e5;
    return std::round(double(duration.count()) / tenthsOfMs) / 10;
}

QString msText(nanoseconds duration)
{
    return said({u"%1 ms", u"%1 мс"}).arg(toMs(duration), 0, 'f', 1);
}

QString noteLines(const QList<TraceNote>& notes)
{
    QString text;
    for (const TraceNote& note : notes) {
        text += QStringLiteral("   → %1\n").arg(said(note.words));
    }
    return text;
}

QJsonArray noteNames(const QList<TraceNote>& notes)
{
    return arrayOf(notes, [](const TraceNote& note) { return QString::fromUtf8(note.name); });
}

QString stepLines(qsizetype number, const Step& step)
{
    const QString status =
        step.httpStatus == 0 ? QString() : QStringLiteral("HTTP %1, ").arg(step.httpStatus);
    // Of a refusal the status has told already.
    const QString error = step.error.isEmpty() || step.httpStatus >= 400
                              ? QString()
                              : QStringLiteral("   %1\n").arg(step.error);
    return said({u"%1. %2: %3\n   %4%5; begun after %6, took %7\n",
                 u"%1. %2: %3\n   %4%5; начат через %6, длился %7\n"})
               .arg(QString::number(number), purposeWords(step.purpose), step.address, status,
                    step.classWords, msText(step.at), msText(step.duration)) +
           error + noteLines(step.done);
}

QJsonObject stepJson(const Step& step)
{
    return {
        {QStringLiteral("purpose"), purposeName(step.purpose)},
        {QStringLiteral("method"), step.post ? QStringLiteral("POST") : QStringLiteral("GET")},
        {QStringLiteral("address"), step.address},
        {QStringLiteral("httpStatus"), step.httpStatus},
        {QStringLiteral("class"), step.className},
        {QStringLiteral("error"), step.error},
        {QStringLiteral("atMs"), toMs(step.at)},
        {QStringLiteral("ms"), toMs(step.duration)},
        {QStringLiteral("done"), noteNames(step.done)},
    };
}

QString decisionWords(Source source, http::ErrorKind errorKind, int httpStatus, Deal deal)
{
    if (source == Source::Offline) {
        return said({u"the local module's verdict", u"вердикт локального модуля"});
    }
    const QString words = whyNoVerdict(errorKind, httpStatus, deal);
    return words.isEmpty()
               ? said({u"the verdict of the last site's reply", u"вердикт по последнему ответу площадки"})
               : words;
}

QString spentLine(const CheckStory& story)
{
    QString text;
    for (int i = 0; i < purposes; ++i) {
        if (const nanoseconds spent = story.spentOn(Purpose(i)); spent.count() > 0) {
            text += QStringLiteral("%1 %2, ").arg(purposeWords(Purpose(i)), msText(spent));
        }
    }
    return said({u"Time: %1rest %2, total %3\n", u"Время: %1остальное %2, всего %3\n"})
        .arg(text, msText(story.spentElsewhere()), msText(story.total));
}

QJsonObject spentJson(const CheckStory& story)
{
    QJsonObject spent;
    for (int i = 0; i < purposes; ++i) {
        spent.insert(purposeName(Purpose(i)), toMs(story.spentOn(Purpose(i))));
    }
    spent.insert(QStringLiteral("elsewhere"), toMs(story.spentElsewhere()));
    spent.insert(QStringLiteral("total"), toMs(story.total));
    return spent;
}

}  // namespace

Decision decisionOf(const Verification& verification)
{
    const auto& result = verification.result;
    return {.source = verification.source(),
            .errorKind = int(result.errorKind()),
            .words = verification.isServed() ? decisionWords(verification.source(), result.errorKind(),
                                                             result.status(), verification.deal)
                                             : said({u"there was no check", u"проверки не было"})};
}

Decision decisionOf(const CheckEnd& end)
{
    const Source source = end.byModule                             ? Source::Offline
                          : end.errorKind == http::ErrorKind::None ? Source::Online
                                                                   : Source::Nowhere;
    return {.source = source,
            .errorKind = int(end.errorKind),
            .words = decisionWords(source, end.errorKind, end.httpStatus, Deal::Sale)};
}

QString explanationText(const CheckStory& story, const Decision& decision)
{
    QString text = noteLines(story.before);
    for (qsizetype i = 0; i < story.steps.size(); ++i) {
        text += stepLines(i + 1, story.steps[i]);
    }
    return text + said({u"Decision: %1\n", u"Решение: %1\n"}).arg(decision.words) + spentLine(story);
}

QJsonObject explanationJson(const CheckStory& story, const Decision& decision)
{
    return {
        {QStringLiteral("before"), noteNames(story.before)},
        {QStringLiteral("steps"), arrayOf(story.steps, stepJson)},
        {QStringLiteral("decision"), QJsonObject{{QStringLiteral("source"), sourceName(decision.source)},
                                                 {QStringLiteral("errorKind"), decision.errorKind},
                                                 {QStringLiteral("text"), decision.words}}},
        {QStringLiteral("spentMs"), spentJson(story)},
    };
}

}  // namespace poshost
