#include <algorithm>
#include <memory>
#include <optional>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>

#include "poshost/doctor/examination.h"
#include "poshost/language.h"
#include "poshost/reports/statustext.h"
#include "poshost/settings/hostsettings.h"
#include "poshost/settings/knownkeys.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/progress.h"
#include "poshost/terminal/signals.h"
#include "poshost/terminal/worker.h"
#include "poshost/till/pluginsession.h"
#include "poshost/till/scenario.h"
#include "poshost/till/stand.h"
#include "poshost/verbs/verbs.h"

namespace poshost {

namespace {

struct DoctorOptions
{
    bool json = false;
    bool listKeys = false;
    bool offline = false;            ///< the settings alone
    bool strict = false;             ///< notes count
    std::vector<std::string> files;  ///< of settings, offline
};

QString markingSections(const QList<MarkingSection>& sections)
{
    QStringList texts;
    for (const MarkingSection& section : sections) {
        texts.append(QStringLiteral("[%1] %2").arg(section.section, section.service));
    }
    return texts.isEmpty() ? said({u"no section MarkedGoods*, DraftBeer*, Motp*, Moot*",
                                   u"нет ни одной секции MarkedGoods*, DraftBeer*, Motp*, Moot*"})
                           : texts.join(QLatin1String(", "));
}

/// As the library's metadata tell, without any code of it.
QString versionOf(const QString& pluginFile)
{
    return QPluginLoader(pluginFile)
        .metaData()
        .value(QLatin1String("pluginVersion"))
        .toArray()
        .first()
        .toString();
}

/// Report::pluginWorks is known.
void judgePlugin(Report& report, const QString& subject)
{
    const QString sections = markingSections(report.markingSections);
    if (*report.pluginWorks) {
        report.add(Level::Good, Area::Plugin, "plugin-works", subject,
                   said({u"the plug-in works: %1", u"плагин работает: %1"}).arg(sections));
        return;
    }
    report.add(
        Level::Bad, Area::Plugin, "plugin-idle", subject,
        said({u"the plug-in is idle, nobody uses the service crpt: %1",
              u"плагин бездействует, сервиса crpt никто не использует: %1"})
            .arg(sections),
        said({u"write markverifycrptservice = crpt into a section of marked goods, such as [MarkedGoods]",
              u"впишите markverifycrptservice = crpt в секцию маркировки, например [MarkedGoods]"}));
}

/// Has the plug-in itself say whether it has anything to do.
void checkPlugin(const Options& options, const Examined& examined)
{
    Report& report = examined.report;
    const QString named = options.pluginFile.isEmpty()
                              ? examined.config.getString(QStringLiteral("Host:plugin"))
                              : options.pluginFile;
    QString file = named;
    try {
        file = findPlugin(named);
        report.pluginVersion = versionOf(file);
        PluginSession session(file);
        report.pluginWorks = session.start();
    } catch (const FatalError& failure) {
        Signals::throwIfReceived();
        report.add(Level::Bad, Area::Plugin, "plugin-not-loaded", file, failure.line(),
                   said({u"name the library in --plugin or [Host] plugin",
                         u"назовите библиотеку в --plugin или [Host] plugin"}));
        return;
    }
    judgePlugin(report, file);
}

void useStand(std::optional<Stand>& stand, const ShippedScenario& scenario, Config& config, Report& report)
{
    report.stand = true;
    report.add(Level::Note, Area::Settings, "stand", QStringLiteral("--stand"),
               said({u"the test stand is examined", u"проверяется тестовый стенд"}));
    stand.emplace(scenario.stand);
    stand->applyTo(config);
    scenario.applySettings(config);
}

/// Changes nothing and writes no file. A settings file that is not there or cannot be understood is a
/// finding; a signal throws FatalError.
Report examine(const Options& options, bool strict)
{
    QElapsedTimer timer;
    timer.start();
    const ShippedScenario scenario = findScenario(options.scenario);
    configureQuietLog(options);
    const QString file = settingsFile(options);
    Config& config = *Singleton<Config>::instance();
    std::optional<Stand> stand;
    Report report;
    report.strict = strict;
    if (file.isEmpty() || readSettings(file, config, report)) {
        if (options.stand) {
            useStand(stand, scenario, config, report);
        }
        maskSecrets(config);
        const Examined examined{config, report};
        checkSettings(examined);
        checkOperator(examined);
        askModules(examined);
        checkPlugin(options, examined);
    }
    Signals::throwIfReceived();
    report.elapsed = std::chrono::milliseconds(timer.elapsed());
    return report;
}

/// What can be known of the settings in one file alone.
Report examineOffline(const QString& file, const Options& options, bool strict)
{
    Report report;
    report.offline = true;
    report.strict = strict;
    Config config;
    if (!readSettings(file, config, report)) {
        return report;
    }
    checkSettings({config, report});
    const auto& sections = report.markingSections;
    report.pluginWorks = std::any_of(sections.begin(), sections.end(), [](const auto& section) {
        return section.service == QLatin1String("crpt");
    });
    judgePlugin(report, said({u"plug-in", u"плагин"}));
    const QString named =
        options.pluginFile.isEmpty() ? config.getString(QStringLiteral("Host:plugin")) : options.pluginFile;
    try {
        report.pluginVersion = versionOf(findPlugin(named));
    } catch (const FatalError&) {  // it need not be on this machine
    }
    return report;
}

int examineFiles(const Options& options, const DoctorOptions& own)
{
    if (options.stand) {
        refuse(QStringLiteral("doctor: --offline looks at settings files alone; leave out --stand, "
                              "--scenario or --offline"));
    }
    QStringList files;
    for (const std::string& file : own.files) {
        files.append(QString::fromStdString(file));
    }
    if (files.isEmpty()) {
        files.append(settingsFile(options));
    }
    bool isGood = true;
    for (const QString& file : std::as_const(files)) {
        const Report report = examineOffline(file, options, own.strict);
        printOut(own.json ? toJson(report) : toLines(report));
        isGood = isGood && report.isGood();
    }
    return isGood ? exitstatus::Good : exitstatus::Bad;
}

int runDoctor(const Options& options, const DoctorOptions& own)
{
    if (own.listKeys) {
        printOut(own.json ? keysAsJson() : keysAsMarkdown());
        return exitstatus::Good;
    }
    if (own.offline) {
        return examineFiles(options, own);
    }
    const Progress progress(false);
    const Report report = inWorker([&] { return examine(options, own.strict); });
    const bool colours = styleOf(STDOUT_FILENO, options.colours).colours;
    if (own.json) {
        printOut(toJson(report));
    } else {
        printReport(standHead(report.stand) + toText(report, colours));
    }
    if (report.isFileMissing) {
        return exitstatus::Usage;
    }
    return report.isGood() ? exitstatus::Good : exitstatus::Bad;
}

}  // namespace

void addDoctor(CommandLine& line)
{
    const auto own = std::make_shared<DoctorOptions>();
    CLI::App* verb = line.addVerb(
        "doctor", "Examine the settings and what they name, without changing anything; says what to do",
        [own](const Options& options) { return runDoctor(options, *own); });
    verb->add_flag("--json", own->json, "Print one JSON object instead of a report");
    verb->add_flag("--strict", own->strict, "Notes count as wrong, too");
    auto* offline = verb->add_flag("--offline", own->offline,
                                   "Examine settings files alone; print \"file:line: message\"");
    verb->add_option("FILE", own->files, "Settings files; by default that of --config")
        ->type_name("")
        ->needs(offline);
    verb->add_flag("--keys", own->listKeys,
                   "Only list the keys of the settings that are read, as a table in Markdown");
    verb->footer("Exit status: 0 all is well, 1 something is wrong, 2 the command line is wrong or there are "
                 "no settings.");
}

}  // namespace poshost
