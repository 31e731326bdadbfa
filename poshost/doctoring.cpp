#include "poshost/doctoring.h"

#include <algorithm>
#include <array>
#include <optional>

#include <unistd.h>

#include <QElapsedTimer>
#include <QFileInfo>

#include "contracts/service.h"
#include "doctor/address.h"
#include "doctor/modulecheck.h"
#include "doctor/operatorcheck.h"
#include "doctor/settingscheck.h"
#include "poshost/failure.h"
#include "poshost/hostsettings.h"
#include "poshost/pluginfile.h"
#include "poshost/progressline.h"
#include "poshost/scenario.h"
#include "poshost/session.h"
#include "poshost/signalwatch.h"
#include "poshost/standsettings.h"
#include "poshost/terminal.h"
#include "poshost/till.h"
#include <log4qt/logmanager.h>
#include <orvex/dialog.h>

namespace poshost {

namespace {

using doctor::Area;
using doctor::Level;

/// Nobody waits longer for one reply, whatever the settings allow.
constexpr int longestWait = 30;  // seconds

/// Shows on a terminal what is being waited for.
class Progress
{
public:
    explicit Progress(const SignalWatch& signals)
        : m_signals(signals)
    {
        if (isTerminal(STDERR_FILENO)) {
            m_line.emplace();
        }
    }

    void show(const QString& step)
    {
        m_signals.throwIfReceived();
        m_shown = {};
        if (m_line) {
            m_shown =
                MockFactory<Dialog>::create()->showProgress(tr::Tr(QStringLiteral("doctorStep"), step), {});
        }
    }

private:
    const SignalWatch& m_signals;
    std::optional<ProgressLine> m_line;
    SimpleProgress m_shown;
};

class Examination
{
public:
    explicit Examination(const Options& options)
        : m_options(options)
    {
    }

    doctor::Report run();

private:
    bool load();
    void useStand(const Scenario& scenario);
    void boundTimeouts();
    void checkHost();
    void checkPlugin();

    const Options& m_options;
    SignalWatch m_signals;
    Config& m_config = *Singleton<Config>::instance();
    std::optional<StandProcess> m_stand;
    doctor::Report m_report;
};

doctor::Report Examination::run()
{
    QElapsedTimer timer;
    timer.start();
    const Scenario scenario = findScenario(m_options.scenario);
    configureQuietLog(m_options);
    if (load()) {
        if (Till::usesStand(m_options)) {
            useStand(scenario);
        }
        maskSecrets(m_config, m_options);
        doctor::checkSettings(m_config, m_report);
        boundTimeouts();
        checkHost();
        checkPlugin();
    }
    m_signals.throwIfReceived();
    m_report.elapsed = std::chrono::milliseconds(timer.elapsed());
    return std::move(m_report);
}

bool Examination::load()
{
    m_report.settingsFile = settingsFile(m_options.configFile);
    const QFileInfo file(m_report.settingsFile);
    QString error;
    if (m_report.settingsFile.isEmpty()) {
        return true;
    }
    if (!file.isFile() || !file.isReadable()) {
        loadSettings(m_config, m_report.settingsFile);  // says so
    } else if (!m_config.load(m_report.settingsFile, &error)) {
        m_report.add(Level::Bad, Area::Settings, "broken-file", m_report.settingsFile, error,
                     QStringLiteral("исправьте эту строку; остальное проверяется после этого"));
        return false;
    }
    return true;
}

void Examination::useStand(const Scenario& scenario)
{
    m_report.add(Level::Note, Area::Settings, "stand", QStringLiteral("--stand"),
                 m_options.stand ? QStringLiteral("проверяется тестовый стенд")
                                 : QStringLiteral("настроек нет, проверяется тестовый стенд"));
    m_stand.emplace(scenario.stand, m_signals);
    pointAtStand(m_config, m_stand->info());
    scenario.applySettings(m_config);
}

void Examination::boundTimeouts()
{
    QStringList keys = {QStringLiteral("CRPT:getInfoTimeout"), QStringLiteral("CRPT:healthCheckTimeout")};
    for (const QString& section : m_config.sections(QStringLiteral("LMCHZ*"))) {
        keys.append(section + QLatin1String(":timeout"));
    }
    for (const QString& key : std::as_const(keys)) {
        if (m_config.getInt(key) > longestWait) {
            m_config.setValue(key, QString::number(longestWait));
        }
    }
}

void Examination::checkHost()
{
    QStringList hosts = m_config.getList(QStringLiteral("Host:hosts"));
    hosts.removeIf([](const QString& host) { return !doctor::isAskable(doctor::addressOf(host)); });
    const QStringList keys = m_config.getList(QStringLiteral("Host:keys"));
    if (hosts.isEmpty()) {
        m_report.add(Level::Bad, Area::Hosts, "no-hosts", QStringLiteral("[Host] hosts"),
                     QStringLiteral("нет ни одного сервера оператора"),
                     QStringLiteral("впишите адрес, который выдал оператор"));
    }
    if (keys.isEmpty()) {
        m_report.add(Level::Bad, Area::Keys, "no-keys", QStringLiteral("[Host] keys"),
                     QStringLiteral("нет ни одного ключа API"),
                     QStringLiteral("выпустите ключ в личном кабинете оператора и впишите его"));
    }
    Progress progress(m_signals);
    const auto onStep = [&](const QString& step) { progress.show(step); };
    doctor::checkOperator(hosts, keys, onStep, m_report);

    QStringList used = keys;
    if (const QString usual = m_config.getString(QStringLiteral("Host:apiKey")); !usual.isEmpty()) {
        used.prepend(usual);
    }
    doctor::checkModules(m_config, used, onStep, m_report);
}

QString markingSections(const QList<doctor::MarkingSection>& sections)
{
    QStringList texts;
    for (const doctor::MarkingSection& section : sections) {
        texts.append(QStringLiteral("[%1] %2").arg(section.section, section.service));
    }
    return texts.isEmpty() ? QStringLiteral("нет ни одной секции MarkedGoods*, DraftBeer*, Motp*, Moot*")
                           : texts.join(QLatin1String(", "));
}

/// Has the plug-in itself say whether it has anything to do.
void Examination::checkPlugin()
{
    const QString service = m_config.getString(QStringLiteral("Host:service"));
    m_report.service = service.isEmpty() ? QStringLiteral("crpt") : service;
    const QString named = m_options.pluginFile.isEmpty() ? m_config.getString(QStringLiteral("Host:plugin"))
                                                         : m_options.pluginFile;
    QString file = named;
    try {
        file = findPlugin(named);
        Session session(file);
        m_report.pluginWorks = session.start();
    } catch (const Failure& failure) {
        m_signals.throwIfReceived();
        m_report.add(Level::Bad, Area::Plugin, "plugin-not-loaded", file, failure.line(),
                     QStringLiteral("назовите библиотеку в --plugin или [Host] plugin"));
        return;
    }
    const QString sections = markingSections(m_report.markingSections);
    if (!*m_report.pluginWorks) {
        m_report.add(
            Level::Bad, Area::Plugin, "plugin-idle", file,
            QStringLiteral("плагин бездействует, сервиса crpt никто не использует: %1").arg(sections),
            QStringLiteral(
                "впишите markverifycrptservice = crpt в секцию маркировки, например [MarkedGoods]"));
        return;
    }
    m_report.add(Level::Good, Area::Plugin, "plugin-works", file,
                 QStringLiteral("плагин работает: %1").arg(sections));
    if (marking::serviceFromText(m_report.service) != marking::Crpt) {
        m_report.add(
            Level::Bad, Area::Plugin, "service-not-served", QStringLiteral("[Host] service"),
            QStringLiteral("проверки просят у сервиса %1, плагин обслуживает crpt").arg(m_report.service),
            QStringLiteral("впишите service = crpt"));
    }
}

}  // namespace

doctor::Report examine(const Options& options)
{
    return Examination(options).run();
}

}  // namespace poshost
