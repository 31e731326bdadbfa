#pragma once

#include <chrono>

#include <QString>

#include "poshost/settings/hostsettings.h"
#include <orvex/eactivitylistener.h>
#include <orvex/pluginloader.h>

namespace poshost {

/// Path of the plug-in library: the one named, else the one that was built or installed with this program.
/// Throws FatalError when there is none.
[[nodiscard]] QString findPlugin(const QString& named);

/// One life of the plug-in in this host: loaded, started, stopped, unloaded. What the plug-in is asked to do
/// runs in a worker thread, so that the event loop goes on.
///
/// Everything that came from the plug-in (actions and tasks with values in them) must be gone before the
/// session is. One thread.
class PluginSession
{
public:
    /// Loads the library after a look at its metadata. Throws FatalError.
    explicit PluginSession(const QString& file);
    PluginSession(const PluginSession&) = delete;
    PluginSession& operator=(const PluginSession&) = delete;
    /// Stops and unloads the plug-in. Work that it still has in hand is cancelled after a moment.
    ~PluginSession();

    /// False when the plug-in has nothing to do with these settings and stays idle. Throws FatalError when
    /// its thread cannot be started.
    [[nodiscard]] bool start();

    /// Hands the plug-in the operator's hosts and keys.
    static void introduceService(const HostSettings& settings);
    static void sendEvent(int code);

    /// Waits until the plug-in's threads have done what events have given them to do, until a signal comes or
    /// the time is up.
    void waitUntilIdle(std::chrono::milliseconds limit) const;

private:
    [[nodiscard]] QList<QThread*> threads() const;

    PluginLoader m_loader;
    bool m_started = false;
};

}  // namespace poshost
