#include "poshost/session.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

#include <poll.h>
#include <sys/eventfd.h>

#include <QThread>

#include "contracts/initverifyservice.h"
#include "contracts/metatypes.h"
#include "contracts/verify.h"
#include "poshost/failure.h"
#include "poshost/filedescriptor.h"
#include "poshost/output.h"
#include <network/restclient.h>
#include <orvex/activitynotifier.h>
#include <orvex/basicplugin.h>
#include <orvex/task.h>

namespace poshost {

namespace {

/// How long the plug-in may take to come to rest by itself.
constexpr std::chrono::milliseconds patience{500};

/// Cancels all HTTP exchanges unless it is destroyed in time.
class Impatience
{
public:
    Impatience()
        : m_thread([this](const std::stop_token& stop) {
            std::unique_lock lock(m_mutex);
            m_wake.wait_for(lock, stop, patience, [] { return false; });
            if (!stop.stop_requested()) {
                RestClient::cancelAll(true);
            }
        })
    {
    }

private:
    std::mutex m_mutex;
    std::condition_variable_any m_wake;
    std::jthread m_thread;
};

}  // namespace

Session::Session(const QString& pluginFile)
    : m_loader(pluginFile)
{
    contracts::registerMetaTypes();
    QString error;
    if (!m_loader.load(QStringLiteral("CrptService"), &error)) {
        refuse(QStringLiteral("plug-in %1; name another with --plugin or [Host] plugin").arg(error));
    }
}

Session::~Session()
{
    const Impatience impatience;
    if (m_started) {
        m_loader.plugin()->deinit();
    }
    if (!m_loader.unload()) {
        printNote(QStringLiteral("the plug-in could not be unloaded"));
    }
}

bool Session::start()
{
    m_started = m_loader.plugin()->init();
    return m_started;
}

void Session::introduceService(const HostSettings& settings)
{
    const Event event(EActivityListener::InitVerifyService);
    const events::marking::InitVerifyService service(event);
    service.setService(settings.service);
    service.setSection(settings.section);
    service.setHosts(settings.hosts);
    service.setKeys(settings.keys);
    Singleton<ActivityNotifier>::instance()->sendEvent(event);
}

void Session::sendEvent(int code)
{
    Singleton<ActivityNotifier>::instance()->sendEvent(Event(code));
}

void Session::waitUntilIdle(int stopFd, QDeadlineTimer deadline)
{
    const auto idle = std::make_shared<FileDescriptor>(::eventfd(0, EFD_CLOEXEC));
    for (QThread* thread : m_loader.object()->findChildren<QThread*>()) {
        if (!thread->isRunning()) {
            continue;
        }
        auto* messenger = new QObject;
        messenger->moveToThread(thread);
        // Queued behind what the events have queued there.
        QMetaObject::invokeMethod(
            messenger,
            [messenger, idle] {
                (void)::eventfd_write(idle->get(), 1);
                messenger->deleteLater();
            },
            Qt::QueuedConnection);
        std::array sources = {pollfd{idle->get(), POLLIN, 0}, pollfd{stopFd, POLLIN, 0}};
        int ready = -1;
        while (ready < 0) {
            ready = ::poll(sources.data(), sources.size(), int(deadline.remainingTime()));
        }
        eventfd_t count = 0;
        if (sources[0].revents == 0 || ::eventfd_read(idle->get(), &count) != 0) {
            return;
        }
    }
}

}  // namespace poshost
