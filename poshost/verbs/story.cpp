#include <map>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "poshost/reports/storyreport.h"
#include "poshost/story/logreader.h"
#include "poshost/story/summary.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/till/codes.h"
#include "poshost/verbs/verbs.h"

namespace poshost {

namespace {

struct StoryOptions
{
    std::vector<std::string> logs;
    QString since;
    QString until;
    QString code;
    Only only = Only::Any;
    QString plotFile;
    bool json = false;
    bool metrics = false;
};

/// A date, or date and time, local; a date alone means its begin, or its end.
QDateTime timeOf(const QString& text, const char* option, bool endOfDay)
{
    if (text.isEmpty()) {
        return {};
    }
    const QDate today = QDate::currentDate();
    const QDate date = text == QLatin1String("today") ? today
                       : text == QLatin1String("yesterday")
                           ? today.addDays(-1)
                           : QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
    if (date.isValid()) {
        return (endOfDay ? date.addDays(1) : date).startOfDay();
    }
    const QDateTime time = QDateTime::fromString(text, Qt::ISODate);
    if (!time.isValid()) {
        refuse(QStringLiteral("story: %1 %2: no date or time; write it as 2026-11-22, 2026-11-22T14:30, "
                              "today or yesterday")
                   .arg(QLatin1String(option), text));
    }
    return time.toLocalTime();
}

/// As the log has it; what is no code may be a part of one.
QString codeAsLogged(const QString& text)
{
    const ParsedCode parsed = parseCode(text.toUtf8());
    return parsed.fault == CodeFault::None ? parsed.code.toReadable() : text;
}

/// Of nothing a report says too little.
void tellNoHit(const LogChecks& logs)
{
    const QString format = QStringLiteral("yyyy-MM-dd HH:mm:ss");
    if (logs.wanted.isEmpty() && logs.seen > 0) {
        printNote(
            QStringLiteral("story: none of the %1 checks in these logs matches; the logs cover %2 to %3")
                .arg(QString::number(logs.seen), logs.first.toString(format), logs.last.toString(format)));
    }
}

void printStories(const QList<CheckStory>& checks)
{
    for (const CheckStory& story : checks) {
        printReport(storyText(story));
    }
    printReport(toText(summaryOf(checks)));
}

int runStory(const StoryOptions& own)
{
    QStringList names;
    for (const std::string& log : own.logs) {
        names.append(QString::fromStdString(log));
    }
    const LogChecks logs = readLogs(names, {.since = timeOf(own.since, "--since", false),
                                            .until = timeOf(own.until, "--until", true),
                                            .code = codeAsLogged(own.code),
                                            .only = own.only});
    const QList<CheckStory>& checks = logs.wanted;
    if (!own.plotFile.isEmpty()) {
        plot(summaryOf(checks), own.plotFile);
    }
    if (own.metrics) {
        printOut(toMetrics(checks));
        return exitstatus::Good;
    }
    tellNoHit(logs);
    if (!own.json) {
        try {
            printStories(checks);
        } catch (const ReaderGone& gone) {  // one that wanted the begin only
            return gone.exitStatus();
        }
        return exitstatus::Good;
    }
    for (const CheckStory& story : checks) {
        printOut(storyJson(story));
    }
    return exitstatus::Good;
}

}  // namespace

void addStory(CommandLine& line)
{
    const auto own = std::make_shared<StoryOptions>();
    CLI::App* verb = line.addVerb("story", "Tell from the log what became of each check",
                                  [own](const Options&) { return runStory(*own); });
    verb->add_option("LOG", own->logs,
                     "Log files, also rotated and compressed by gzip; \"-\" is standard input")
        ->type_name("")
        ->required();
    addText(*verb, "--since", own->since, "TIME",
            "Checks that began then or later: 2026-11-22, 2026-11-22T14:30, today, yesterday");
    addText(*verb, "--until", own->until, "TIME", "Checks that began before; a date means its end");
    addText(*verb, "--code", own->code, "CODE", "Checks of this code; a part of it is enough");
    static const std::map<std::string, Only> kinds = {
        {"trouble", Only::Trouble}, {"refused", Only::Refused}, {"permitted", Only::Permitted}};
    verb->add_option("--only", own->only,
                     "trouble (no plain answer of a site), refused, or permitted (sold without a verdict)")
        ->type_name("WHAT")
        ->transform(CLI::CheckedTransformer(kinds).description(""));
    CLI::Option* json = verb->add_flag("--json", own->json, "Print one JSON object for each check");
    verb->add_flag("--metrics", own->metrics, "Print metrics for a textfile collector of Prometheus")
        ->excludes(json);
    addText(*verb, "--plot", own->plotFile, "FILE",
            "Draw the checks of each hour into an SVG file, by gnuplot");
    verb->footer(
        "Exit status: 0 the logs were read, 2 the command line is wrong, a file cannot be read or written, "
        "or\n"
        "no line of the logs can be read, 4 standard output could not be written, 128 plus the number of a\n"
        "signal that ended it.");
}

}  // namespace poshost
