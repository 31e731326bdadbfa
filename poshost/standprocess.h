#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include "poshost/filedescriptor.h"
#include "poshost/signalwatch.h"

namespace poshost {

/// A local module of the stand.
struct StandModule
{
    QString url;
    QString user;
    QString password;
    QString token;
};

/// Where the stand's servers are, as it says when it is ready.
struct StandInfo
{
    QStringList operators;  ///< addresses
    QStringList keys;
    QList<StandModule> modules;
    QString caFile;  ///< empty for plain HTTP
};

/// The test stand as a child process. It is ended and reaped when this object goes, and by the system should
/// this process die first. Main thread.
class StandProcess
{
public:
    /// Starts the program beside this one with a scenario of its own format (empty: none) and waits until it
    /// is ready. Throws Failure when it does not come up or a signal arrives meanwhile.
    StandProcess(const QByteArray& scenario, const SignalWatch& signals);
    StandProcess(const StandProcess&) = delete;
    StandProcess& operator=(const StandProcess&) = delete;
    ~StandProcess();

    [[nodiscard]] const StandInfo& info() const { return m_info; }

private:
    void start(const QString& program, int scenarioFd);
    QByteArray readReadyLine(const SignalWatch& signals);
    [[noreturn]] void failStart();
    void stop() noexcept;
    [[nodiscard]] bool waitForEnd(int milliseconds) const noexcept;

    int m_pid = -1;
    FileDescriptor m_pidFd;
    FileDescriptor m_out;     ///< its standard output
    FileDescriptor m_errors;  ///< a file in memory that takes its standard error
    StandInfo m_info;
};

}  // namespace poshost
