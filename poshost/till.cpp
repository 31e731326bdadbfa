#include "poshost/till.h"

#include "poshost/output.h"
#include "poshost/pluginfile.h"
#include "poshost/scenario.h"
#include "poshost/standsettings.h"

namespace poshost {

Till::Till(const Options& options, Log4Qt::Level level)
{
    Config& config = *Singleton<Config>::instance();
    const QString file = settingsFile(options.configFile);
    if (!file.isEmpty()) {
        loadSettings(config, file);
    }
    // What is wrong is said before anything is started; the log comes last, for it makes a file.
    m_settings = readHostSettings(config, options);
    const Scenario scenario = findScenario(options.scenario);
    m_session.emplace(findPlugin(m_settings.pluginFile));
    configureLog(config, options, level);

    if (usesStand(options)) {
        if (!options.stand) {
            printNote(QStringLiteral("no settings found, starting the test stand (as with --stand)"));
        }
        m_stand.emplace(scenario.stand, m_signals);
        pointAtStand(config, m_stand->info());
        scenario.applySettings(config);
        m_settings = readHostSettings(config, options);
    }
    m_signals.throwIfReceived();
}

bool Till::start()
{
    if (!m_session->start()) {
        printNote(
            QStringLiteral("the plug-in is idle: no MarkedGoods*, DraftBeer*, Motp* or Moot* section of "
                           "the settings has markverifycrptservice = crpt"));
        return false;
    }
    m_session->introduceService(m_settings);
    return true;
}

bool Till::usesStand(const Options& options)
{
    return options.stand || settingsFile(options.configFile).isEmpty();
}

}  // namespace poshost
