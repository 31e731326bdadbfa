#include "poshost/failure.h"

#include <system_error>

#include "poshost/exitstatus.h"

namespace poshost {

Failure::Failure(int exitStatus, const QString& line)
    : m_exitStatus(exitStatus)
    , m_line(line.simplified().toUtf8())
{
}

void refuse(const QString& line)
{
    throw Failure(exitstatus::Usage, line);
}

QString systemError(int error)
{
    return QString::fromStdString(std::generic_category().message(error));
}

}  // namespace poshost
