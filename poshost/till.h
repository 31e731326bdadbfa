#pragma once

#include <optional>

#include "poshost/commandline.h"
#include "poshost/hostsettings.h"
#include "poshost/notificationlog.h"
#include "poshost/session.h"
#include "poshost/signalwatch.h"
#include "poshost/standprocess.h"

namespace poshost {

/// A till as the command line wants it: settings, log, the stand where one is used, and the plug-in loaded.
/// Goes down in the reverse order.
class Till
{
public:
    /// `level` is the log's where nothing else is asked for. Throws Failure, and leaves nothing behind then.
    Till(const Options& options, Log4Qt::Level level);

    /// Starts the plug-in and hands it the operator's hosts and keys. False, after a note, when it is idle.
    [[nodiscard]] bool start();

    /// From the first moment of the till to its last, signals end it in good order.
    [[nodiscard]] const SignalWatch& signals() const { return m_signals; }
    [[nodiscard]] const HostSettings& settings() const { return m_settings; }
    [[nodiscard]] const NotificationLog& notifications() const { return m_notifications; }
    [[nodiscard]] Session& session() { return *m_session; }

    /// Whether a stand is used: asked for, or because there are no settings.
    [[nodiscard]] static bool usesStand(const Options& options);

private:
    SignalWatch m_signals;
    HostSettings m_settings;
    std::optional<StandProcess> m_stand;
    NotificationLog m_notifications;
    std::optional<Session> m_session;
};

}  // namespace poshost
