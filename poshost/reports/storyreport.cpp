#include "poshost/reports/storyreport.h"

#include <algorithm>
#include <array>

#include <QJsonArray>

#include "poshost/reports/explanationtext.h"
#include "poshost/till/output.h"

namespace poshost {

namespace {

struct OutcomeEntry
{
    const char* name;
    const char* words;
};

/// By Outcome.
constexpr std::array<OutcomeEntry, 4> outcomes = {{{"passed", "✓ прошли"},
                                                   {"refused", "✗ ОТКАЗ"},
                                                   {"permitted", "! БЕЗ ПРОВЕРКИ"},
                                                   {"unfinished", "? НЕ ЗАКОНЧЕНА"}}};

const OutcomeEntry& entryOf(const CheckStory& story)
{
    return outcomes.at(size_t(story.outcome()));
}

/// With the reply, where no step tells of it.
Decision decisionOf(const CheckStory& story)
{
    if (!story.end) {
        return {.words = QStringLiteral("неизвестно, в журнале нет итога проверки")};
    }
    Decision decision = decisionOf(*story.end);
    const QString& address = story.end->address;
    if (!address.isEmpty() && std::none_of(story.steps.begin(), story.steps.end(),
                                           [&](const Step& step) { return step.address == address; })) {
        decision.words += QStringLiteral(" (HTTP %1, %2)").arg(story.end->httpStatus).arg(address);
    }
    return decision;
}

}  // namespace

QString storyText(const CheckStory& story)
{
    QString text = QStringLiteral("%1  %2: кодов %3")
                       .arg(story.begin.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")),
                            QString::fromUtf8(entryOf(story).words), QString::number(story.codes.size()));
    if (story.end) {
        text += QStringLiteral(", отказано %1").arg(story.end->failed);
    }
    text += QStringLiteral("  (поток %1)\n").arg(story.thread);
    for (const QString& code : story.codes) {
        text += QStringLiteral("   %1\n").arg(oneLine(code));
    }
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
    return jsonLine(object);
}

}  // namespace poshost
