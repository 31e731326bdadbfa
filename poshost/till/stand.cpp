#include "poshost/till/stand.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>

#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/signals.h"

namespace poshost {

namespace {

constexpr std::chrono::seconds readyTimeout{30};  // a sanitizer build on a busy machine is slow
constexpr int endTimeout = 2'000;                 // milliseconds

/// Runs in the child, before the program.
void prepareChild()
{
    // A group of its own: Ctrl-C reaches this process alone, which then ends the child.
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    (void)std::signal(SIGPIPE, SIG_DFL);
}

QStringList texts(const QJsonValue& array, const char* member)
{
    QStringList found;
    for (const QJsonValue value : array.toArray()) {
        found.append(value.isString() ? value.toString() : value[QLatin1String(member)].toString());
    }
    return found;
}

void addMarkingSection(Config& config)
{
    static constexpr std::array patterns = {"MarkedGoods*", "DraftBeer*", "Motp*", "Moot*"};
    const bool present = std::any_of(patterns.begin(), patterns.end(), [&](const char* pattern) {
        return !config.sections(QLatin1String(pattern)).isEmpty();
    });
    if (!present) {
        config.setValue(QStringLiteral("MarkedGoods:markverifycrptservice"), QStringLiteral("crpt"));
    }
}

void replaceModules(Config& config, const QJsonArray& modules)
{
    for (const QString& section : config.sections(QStringLiteral("LMCHZ*"))) {
        config.setValue(section + QLatin1String(":enable"), QStringLiteral("false"));
    }
    for (qsizetype i = 0; i < modules.size(); ++i) {
        const QString section = QStringLiteral("LMCHZ%1:").arg(i + 1);
        config.setValue(section + QLatin1String("enable"), QStringLiteral("true"));
        config.setValue(section + QLatin1String("maintain"), QStringLiteral("true"));
        for (const char* key : {"url", "user", "password", "token"}) {
            config.setValue(section + QLatin1String(key), modules[i][QLatin1String(key)].toString());
        }
    }
}

}  // namespace

Stand::Stand(const QByteArray& scenario)
{
    const QString program = QCoreApplication::applicationDirPath() + QLatin1String("/marksim");
    if (!QFileInfo(program).isExecutable()) {
        refuse(QStringLiteral(
                   "stand: no program %1; build or install it, or give your own settings with --config")
                   .arg(program));
    }
    m_process.setProgram(program);
    m_process.setChildProcessModifier(&prepareChild);
    start(scenario);
    m_ready = QJsonDocument::fromJson(m_process.readLine()).object();
    if (Signals::received() == 0 && m_ready.value(QLatin1String("ready")).toBool()) {
        return;
    }
    stop();
    Signals::throwIfReceived();
    const QByteArray said = m_process.readAllStandardError();
    refuse(QStringLiteral("stand: did not come up: %1")
               .arg(!said.isEmpty() ? QString::fromUtf8(said)
                    : m_process.error() == QProcess::FailedToStart
                        ? m_process.errorString()
                        : QStringLiteral("it said nothing; run marksim by itself to see why")));
}

Stand::~Stand()
{
    stop();
}

/// Returns when the stand has said that it is ready, has ended, or has taken too long.
void Stand::start(const QByteArray& scenario)
{
    SignalLoop loop;
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &loop, [this, &loop] {
        if (m_process.canReadLine()) {
            loop.quit();
        }
    });
    QObject::connect(&m_process, &QProcess::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(readyTimeout, &loop, &QEventLoop::quit);
    if (!scenario.isEmpty()) {
        m_process.setArguments({QStringLiteral("--scenario"), QStringLiteral("/dev/stdin")});
    }
    m_process.start();
    m_process.write(scenario);
    m_process.closeWriteChannel();
    if (m_process.waitForStarted()) {
        loop.run();
    }
}

void Stand::stop()
{
    m_process.terminate();
    if (!m_process.waitForFinished(endTimeout)) {
        m_process.kill();
        m_process.waitForFinished(endTimeout);
    }
}

void Stand::applyTo(Config& config) const
{
    const QStringList keys = texts(m_ready.value(QLatin1String("keys")), "");
    addMarkingSection(config);
    config.setValue(QStringLiteral("Host:hosts"),
                    texts(m_ready.value(QLatin1String("operators")), "url").join(u','));
    config.setValue(QStringLiteral("Host:keys"), keys.join(u','));
    config.setValue(QStringLiteral("Host:apiKey"), keys.value(0));
    config.setValue(QStringLiteral("Network:caFile"), m_ready.value(QLatin1String("caFile")).toString());
    config.setValue(QStringLiteral("Network:proxy"), {});
    replaceModules(config, m_ready.value(QLatin1String("modules")).toArray());
}

}  // namespace poshost
