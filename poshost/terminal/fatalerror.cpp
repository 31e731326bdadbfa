#include "poshost/terminal/fatalerror.h"

#include <system_error>

namespace poshost {

FatalError::FatalError(int exitStatus, const QString& line)
    : m_exitStatus(exitStatus)
    , m_line(line.simplified().toUtf8())
{
}

void refuse(const QString& line)
{
    throw FatalError(exitstatus::Usage, line);
}

void refuseThread(const QString& what)
{
    throw FatalError(exitstatus::NotServed,
                     QStringLiteral("%1 could not be started: the system gives no more threads; raise the "
                                    "limit (ulimit -u, or pids.max of the cgroup)")
                         .arg(what));
}

QString systemError(int error)
{
    return QString::fromStdString(std::generic_category().message(error));
}

}  // namespace poshost
