#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "poshost/reports/storyreport.h"
#include "poshost/story/logreader.h"
#include "poshost/story/metrics.h"
#include "poshost/story/plot.h"
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
    QString only;
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
    if (const QDate date = QDate::fromString(text, QStringLiteral("yyyy-MM-dd")); date.isValid()) {
        return (endOfDay ? date.addDays(1) : date).startOfDay();
    }
    const QDateTime time = QDateTime::fromString(text, Qt::ISODate);
    if (!time.isValid()) {
        refuse(QStringLiteral("story: %1 %2: no date or time; write it as 2026-11-22 or 2026-11-22T14:30")
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

int runStory(const StoryOptions& own)
{
    QStringList names;
    for (const std::string& log : own.logs) {
        names.append(QString::fromStdString(log));
    }
    const QList<CheckStory> checks = readLogs(names, {.since = timeOf(own.since, "--since", false),
                                                      .until = timeOf(own.until, "--until", true),
                                                      .code = codeAsLogged(own.code),
                                                      .onlyTrouble = !own.only.isEmpty()});
    if (!own.plotFile.isEmpty()) {
        plot(summaryOf(checks), own.plotFile);
    }
    if (own.metrics) {
        printOut(toMetrics(checks));
        return exitstatus::Good;
    }
    for (const CheckStory& story : checks) {
        if (own.json) {
            printOut(storyJson(story));
        } else {
            printReport(storyText(story));
        }
    }
    if (!own.json) {
        printReport(toText(summaryOf(checks)));
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
            "Checks that began then or later: 2026-11-22, 2026-11-22T14:30");
    addText(*verb, "--until", own->until, "TIME", "Checks that began before; a date means its end");
    addText(*verb, "--code", own->code, "CODE", "Checks of this code; a part of it is enough");
    addText(*verb, "--only", own->only, "WHAT", "\"trouble\": checks that were no plain answer of a site")
        ->check(CLI::IsMember({"trouble"}).description(""));
    CLI::Option* json = verb->add_flag("--json", own->json, "Print one JSON object for each check");
    verb->add_flag("--metrics", own->metrics, "Print metrics for a textfile collector of Prometheus")
        ->excludes(json);
    addText(*verb, "--plot", own->plotFile, "FILE",
            "Draw the checks of each hour into an SVG file, by gnuplot");
}

}  // namespace poshost
