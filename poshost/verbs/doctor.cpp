#include <algorithm>
#include <memory>
#include <optional>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>

#include "poshost/doctor/modulecheck.h"
#include "poshost/doctor/operatorcheck.h"
#include "poshost/doctor/reports.h"
#include "poshost/doctor/settingscheck.h"
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
#include <log4qt/logmanager.h>
#include <orvex/dialog.h>

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

/// Shows on a terminal what is being waited for.
class StepProgress
{
public:
    void show(const QString& step)
    {
        Signals::throwIfReceived();
        m_shown = {};
        m_shown = MockFactory<Dialog>::create()->showProgress(tr::Tr(QStringLiteral("doctorStep"), step), {});
    }

private:
    SimpleProgress m_shown;
};

/// Changes nothing and writes no file. A settings file that is not there or cannot be understood is a
/// finding; a signal throws FatalError.
class Examination
{
public:
    Examination(const Options& options, bool strict)
        : m_options(options)
    {
        m_report.strict = strict;
    }

    Report run();

private:
    void useStand(const ShippedScenario& scenario);
    void askForReplies();
    void checkPlugin();

    const Options& m_options;
    Config& m_config = *Singleton<Config>::instance();
    std::optional<Stand> m_stand;
    Report m_report;
};

Report Examination::run()
{
    QElapsedTimer timer;
    timer.start();
    const ShippedScenario scenario = findScenario(m_options.scenario);
    configureQuietLog(m_options);
    const QString file = settingsFile(m_options);
    if (file.isEmpty() || readSettings(file, m_config, m_report)) {
        if (m_options.stand) {
            useStand(scenario);
        }
        maskSecrets(m_config);
        checkSettings(m_config, m_report);
        askForReplies();
        checkPlugin();
    }
    Signals::throwIfReceived();
    m_report.elapsed = std::chrono::milliseconds(timer.elapsed());
    return std::move(m_report);
}

void Examination::useStand(const ShippedScenario& scenario)
{
    m_report.stand = true;
    m_report.add(Level::Note, Area::Settings, "stand", QStringLiteral("--stand"),
                 said({u"the test stand is examined", u"проверяется тестовый стенд"}));
    m_stand.emplace(scenario.stand);
    m_stand->applyTo(m_config);
    scenario.applySettings(m_config);
}

void Examination::askForReplies()
{
    StepProgress progress;
    const auto onStep = [&](const QString& step) { progress.show(step); };
    checkOperator(m_config, onStep, m_report);
    askModules(m_config, onStep, m_report);
}

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
void Examination::checkPlugin()
{
    const QString named = m_options.pluginFile.isEmpty() ? m_config.getString(QStringLiteral("Host:plugin"))
                                                         : m_options.pluginFile;
    QString file = named;
    try {
        file = findPlugin(named);
        m_report.pluginVersion = versionOf(file);
        PluginSession session(file);
        m_report.pluginWorks = session.start();
    } catch (const FatalError& failure) {
        Signals::throwIfReceived();
        m_report.add(Level::Bad, Area::Plugin, "plugin-not-loaded", file, failure.line(),
                     said({u"name the library in --plugin or [Host] plugin",
                           u"назовите библиотеку в --plugin или [Host] plugin"}));
        return;
    }
    judgePlugin(m_report, file);
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
    checkSettings(config, report);
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
    const Report report = inWorker([&] { return Examination(options, own.strict).run(); });
    const bool colours = styleOf(STDOUT_FILENO, options.colours).colours;
    if (own.json) {
        printOut(toJson(report));
    } else {
        printReport((report.stand ? standHead() : QString()) + toText(report, colours));
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
