#include "poshost/till/pluginsession.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QThread>
#include <QTimer>

#include "contracts/initverifyservice.h"
#include "contracts/metatypes.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/signals.h"
#include "poshost/terminal/worker.h"
#include <network/restclient.h>
#include <orvex/activitynotifier.h>
#include <orvex/basicplugin.h>

namespace poshost {

namespace {

/// How long the plug-in may take to come to rest by itself.
constexpr std::chrono::milliseconds gracePeriod{500};

void notify(const Event& event)
{
    inWorker([&event] { Singleton<ActivityNotifier>::instance()->sendEvent(event); });
}

}  // namespace

QString findPlugin(const QString& named)
{
    if (!named.isEmpty()) {
        return named;
    }
    const QDir beside(QCoreApplication::applicationDirPath());
    const QString libraries = QStringLiteral("../" POSHOST_LIBDIR);
    const QString architecture = QStringLiteral("../lib/" POSHOST_ARCHITECTURE);
    for (const QString& folder : {QStringLiteral("../lib"), libraries + QLatin1String("/crptservice"),
                                  architecture + QLatin1String("/crptservice")}) {
        QString file = QDir::cleanPath(beside.filePath(folder + QLatin1String("/libcrptservice.so")));
        if (QFileInfo(file).isFile()) {
            return file;
        }
    }
    refuse(QStringLiteral("no libcrptservice.so beside %1; name it with --plugin or [Host] plugin")
               .arg(beside.path()));
}

PluginSession::PluginSession(const QString& file)
    : m_loader(file)
{
    contracts::registerMetaTypes();
    QString error;
    if (!m_loader.load(QStringLiteral("CrptService"), &error)) {
        refuse(QStringLiteral("plug-in %1; name another with --plugin or [Host] plugin").arg(error));
    }
}

PluginSession::~PluginSession()
{
    QTimer timer;
    timer.callOnTimeout([] { RestClient::cancelAll(true); });
    timer.start(gracePeriod);
    if (m_started) {
        try {
            inWorker([this] { m_loader.plugin()->deinit(); });
        } catch (const FatalError&) {  // no thread for it
            RestClient::cancelAll(true);
            m_loader.plugin()->deinit();
        }
    }
    if (!m_loader.unload()) {
        printNote(QStringLiteral("the plug-in could not be unloaded"));
    }
}

bool PluginSession::start()
{
    m_started = m_loader.plugin()->init();
    const QList<QThread*> all = threads();
    if (m_started && !std::all_of(all.begin(), all.end(), [](QThread* each) { return each->isRunning(); })) {
        refuseThread(QStringLiteral("the plug-in's thread"));
    }
    return m_started;
}

QList<QThread*> PluginSession::threads() const
{
    return m_loader.object()->findChildren<QThread*>();
}

void PluginSession::introduceService(const HostSettings& settings)
{
    const Event event(EActivityListener::InitVerifyService);
    const events::marking::InitVerifyService service(event);
    service.setService(settings.service);
    service.setSection(settings.section);
    service.setHosts(settings.hosts);
    service.setKeys(settings.keys);
    notify(event);
}

void PluginSession::sendEvent(int code)
{
    notify(Event(code));
}

void PluginSession::waitUntilIdle(std::chrono::milliseconds limit) const
{
    SignalLoop loop;
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    qsizetype busy = 0;
    for (QThread* thread : threads()) {
        if (thread->isRunning()) {
            ++busy;
            auto* messenger = new QObject;
            messenger->moveToThread(thread);
            QObject::connect(messenger, &QObject::destroyed, &loop, [&busy, &loop] {
                if (--busy == 0) {
                    loop.quit();
                }
            });
            messenger->deleteLater();  // behind what the events have queued there
        }
    }
    if (busy > 0) {
        loop.run();
    }
}

}  // namespace poshost
