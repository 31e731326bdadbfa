#include "poshost/till/till.h"

#include "poshost/terminal/output.h"
#include "poshost/terminal/signals.h"
#include "poshost/terminal/worker.h"
#include "poshost/till/scenario.h"

namespace poshost {

namespace {

constexpr std::chrono::seconds warmUpLimit{2};

void warnOfMissingSettings(const HostSettings& settings)
{
    if ((settings.hosts.isEmpty() || settings.keys.isEmpty()) && !settings.hasModules) {
        printNote(QStringLiteral("settings, [Host]: no hosts or no keys, so nobody can be asked; give both"));
    }
}

}  // namespace

Till::Till(const Options& options, CheckOptions check, Log4Qt::Level level)
{
    Config& config = *Singleton<Config>::instance();
    if (const QString file = settingsFile(options); !file.isEmpty()) {
        loadSettings(config, file);
    }
    // What is wrong is said before anything is started; the log comes last, for it makes a file.
    check.apiKey = readKey(check);
    m_settings = readHostSettings(config, options, check);
    const ShippedScenario scenario = findScenario(options.scenario);
    m_session.emplace(findPlugin(m_settings.pluginFile));
    configureLog(config, options, level, m_settings.apiKey);

    if (options.stand) {
        m_stand.emplace(scenario.stand);
        m_stand->applyTo(config);
        scenario.applySettings(config);
        m_settings = readHostSettings(config, options, check);
    }
    Signals::throwIfReceived();
}

bool Till::start()
{
    if (!m_session->start()) {
        printNote(
            QStringLiteral("the plug-in is idle: no MarkedGoods*, DraftBeer*, Motp* or Moot* section of "
                           "the settings has markverifycrptservice = crpt"));
        return false;
    }
    PluginSession::introduceService(m_settings);
    return true;
}

void Till::warmUp()
{
    warnOfMissingSettings(m_settings);
    PluginSession::sendEvent(EActivityListener::OnlineServicesRefresh);
    if (m_settings.maintainsModules) {
        PluginSession::sendEvent(EActivityListener::LocalModulesSetUp);
    }
    m_session->waitUntilIdle(warmUpLimit);
    Signals::throwIfReceived();
}

Verification Till::verify(const QList<MarkingCode>& codes, Deal deal, bool explained) const
{
    Verification verification = inWorker([&] { return poshost::verify(codes, m_settings, deal, explained); });
    Signals::throwIfReceived();
    verification.stand = hasStand();
    return verification;
}

QString Till::notServedNote() const
{
    return QStringLiteral("the plug-in does not serve \"%1\"; use --service crpt").arg(m_settings.service);
}

}  // namespace poshost
