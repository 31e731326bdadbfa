#pragma once

#include <QDeadlineTimer>
#include <QString>

#include "poshost/hostsettings.h"
#include <orvex/eactivitylistener.h>
#include <orvex/pluginloader.h>

namespace poshost {

/// One life of the plug-in in this host: loaded, started, stopped, unloaded.
///
/// Everything that came from the plug-in (actions and tasks with values in them) must be gone before the
/// session is. Main thread.
class Session
{
public:
    /// Loads the library after a look at its metadata. Throws Failure.
    explicit Session(const QString& pluginFile);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    /// Stops and unloads the plug-in. Work that it still has in hand is cancelled after a moment.
    ~Session();

    /// False when the plug-in has nothing to do with these settings and stays idle.
    [[nodiscard]] bool start();

    /// Hands the plug-in the operator's hosts and keys.
    void introduceService(const HostSettings& settings);
    void sendEvent(int code);

    /// Waits until the plug-in's threads have done what events have given them to do, until `stopFd` is
    /// readable or the deadline has passed.
    void waitUntilIdle(int stopFd, QDeadlineTimer deadline = QDeadlineTimer::Forever);

private:
    PluginLoader m_loader;
    bool m_started = false;
};

}  // namespace poshost
