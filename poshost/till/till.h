#pragma once

#include <optional>

#include "poshost/commandline.h"
#include "poshost/settings/hostsettings.h"
#include "poshost/till/notifications.h"
#include "poshost/till/pluginsession.h"
#include "poshost/till/stand.h"
#include "poshost/till/verification.h"

namespace poshost {

/// A till as the command line wants it: settings, log, the stand where one is used, and the plug-in loaded.
/// Goes down in the reverse order. For the thread of the event loop.
class Till
{
public:
    /// `level` is the log's where nothing else is asked for. Throws FatalError, and leaves nothing behind
    /// then.
    Till(const Options& options, CheckOptions check, Log4Qt::Level level);

    /// Starts the plug-in and hands it the operator's hosts and keys. False, after a note, when it is idle.
    [[nodiscard]] bool start();

    /// Waits until the plug-in has found its sites, as on a till that has been up for a while.
    void warmUp();

    /// Checks the codes in a worker thread. Throws FatalError for a signal. With `explained` the check is
    /// taken down.
    [[nodiscard]] Verification verify(const QList<MarkingCode>& codes, Deal deal,
                                      bool explained = false) const;

    /// For a verification that nobody took.
    [[nodiscard]] QString notServedNote() const;

    [[nodiscard]] bool hasStand() const { return m_stand.has_value(); }
    [[nodiscard]] const HostSettings& settings() const { return m_settings; }
    [[nodiscard]] const Notifications& notifications() const { return m_notifications; }
    [[nodiscard]] const PluginSession& session() const { return *m_session; }

private:
    HostSettings m_settings;
    std::optional<Stand> m_stand;
    Notifications m_notifications;
    std::optional<PluginSession> m_session;
};

}  // namespace poshost
