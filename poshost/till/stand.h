#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>

#include <config/config.h>

namespace poshost {

/// The test stand as a child process. It is ended and reaped when this object goes, and by the system should
/// the thread that made it end first. One thread.
class Stand
{
public:
    /// Starts the program beside this one with a scenario of its own format (empty: none) and waits until it
    /// is ready. Throws FatalError when it does not come up or a signal arrives meanwhile.
    explicit Stand(const QByteArray& scenario);
    Stand(const Stand&) = delete;
    Stand& operator=(const Stand&) = delete;
    ~Stand();

    /// Points the settings at the stand: its operators and keys as [Host] hosts, keys and apiKey, its
    /// certificate as [Network] caFile, its modules in place of every LMCHZ* section. A marking section is
    /// added when there is none.
    void applyTo(Config& config) const;

private:
    void start(const QByteArray& scenario);
    void stop();

    QProcess m_process;
    QJsonObject m_ready;  ///< where its servers are, as it says when it is ready
};

}  // namespace poshost
