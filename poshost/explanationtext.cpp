#include "poshost/explanationtext.h"

#include <cmath>

#include <QJsonArray>

#include "poshost/statustext.h"

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
    return QStringLiteral("%1 мс").arg(toMs(duration), 0, 'f', 1);
}

QString deedLines(const QList<Deed>& deeds)
{
    QString text;
    for (const Deed& deed : deeds) {
        text += QStringLiteral("   → %1\n").arg(QString::fromUtf8(deed.words));
    }
    return text;
}

QJsonArray deedNames(const QList<Deed>& deeds)
{
    QJsonArray names;
    for (const Deed& deed : deeds) {
        names.append(QString::fromUtf8(deed.name));
    }
    return names;
}

QString stepLines(qsizetype number, const Step& step)
{
    const QString status =
        step.httpStatus == 0 ? QString() : QStringLiteral("HTTP %1, ").arg(step.httpStatus);
    // Of a refusal the status has told already.
    const QString error = step.error.isEmpty() || step.httpStatus >= 400
                              ? QString()
                              : QStringLiteral("   %1\n").arg(step.error);
    return QStringLiteral("%1. %2: %3\n   %4%5; начат через %6, длился %7\n")
               .arg(QString::number(number), purposeWords(step.purpose), step.address, status,
                    step.classWords, msText(step.at), msText(step.duration)) +
           error + deedLines(step.done);
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
        {QStringLiteral("done"), deedNames(step.done)},
    };
}

QString decisionWords(const Verification& verification)
{
    if (verification.source() == Source::Nowhere) {
        return QStringLiteral("проверки не было");
    }
    if (verification.source() == Source::Offline) {
        return QStringLiteral("вердикт локального модуля");
    }
    const QString words = errorKindWords(verification.result.errorKind());
    return words.isEmpty() ? QStringLiteral("вердикт по последнему ответу площадки") : words;
}

QString spentLine(const Explanation& story)
{
    QString text;
    for (int i = 0; i < purposes; ++i) {
        if (const nanoseconds spent = story.spentOn(Purpose(i)); spent.count() > 0) {
            text += QStringLiteral("%1 %2, ").arg(purposeWords(Purpose(i)), msText(spent));
        }
    }
    return QStringLiteral("Время: %1остальное %2, всего %3\n")
        .arg(text, msText(story.total - story.spentOnRequests()), msText(story.total));
}

QJsonObject spentJson(const Explanation& story)
{
    QJsonObject spent;
    for (int i = 0; i < purposes; ++i) {
        spent.insert(purposeName(Purpose(i)), toMs(story.spentOn(Purpose(i))));
    }
    spent.insert(QStringLiteral("elsewhere"), toMs(story.total - story.spentOnRequests()));
    spent.insert(QStringLiteral("total"), toMs(story.total));
    return spent;
}

}  // namespace

QString explanationText(const Verification& verification)
{
    if (!verification.explanation) {
        return {};
    }
    const Explanation& story = *verification.explanation;
    QString text = QStringLiteral("\nХод проверки\n") + deedLines(story.before);
    for (qsizetype i = 0; i < story.steps.size(); ++i) {
        text += stepLines(i + 1, story.steps[i]);
    }
    return text + QStringLiteral("Решение: %1\n").arg(decisionWords(verification)) + spentLine(story);
}

QJsonObject explanationJson(const Verification& verification)
{
    const Explanation& story = *verification.explanation;
    QJsonArray steps;
    for (const Step& step : story.steps) {
        steps.append(stepJson(step));
    }
    return {
        {QStringLiteral("before"), deedNames(story.before)},
        {QStringLiteral("steps"), steps},
        {QStringLiteral("decision"),
         QJsonObject{{QStringLiteral("source"), sourceName(verification.source())},
                     {QStringLiteral("errorKind"), int(verification.result.errorKind())},
                     {QStringLiteral("text"), decisionWords(verification)}}},
        {QStringLiteral("spentMs"), spentJson(story)},
    };
}

}  // namespace poshost
