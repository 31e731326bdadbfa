#pragma once

#include <exception>

#include <QByteArray>
#include <QString>

namespace poshost {

/// What the process tells its caller. A signal that ends it gives 128 plus its number.
namespace exitstatus {
enum : int {
    Good = 0,          ///< every code passed with a verdict; the servers answer
    Bad = 1,           ///< some code did not pass; no server answers
    Usage = 2,         ///< the command line, the configuration or a file is wrong
    NotServed = 3,     ///< the plug-in is idle, cannot run or did not take the action
    OutputFailed = 4,  ///< standard output could not be written
    Unverified = 5,    ///< no code was refused, but some passed without a verdict
};
}  // namespace exitstatus

/// Ends the program early: one line for standard error (what, where, what to do) and an exit status.
/// Thrown anywhere, caught in main() alone.
class FatalError : public std::exception
{
public:
    FatalError(int exitStatus, const QString& line);

    [[nodiscard]] int exitStatus() const { return m_exitStatus; }
    [[nodiscard]] QString line() const { return QString::fromUtf8(m_line); }
    [[nodiscard]] const char* what() const noexcept override { return m_line.constData(); }

private:
    int m_exitStatus;
    QByteArray m_line;
};

/// Whoever read standard output has closed it.
class ReaderGone : public FatalError
{
public:
    using FatalError::FatalError;
};

/// Throws a FatalError with exitstatus::Usage.
[[noreturn]] void refuse(const QString& line);

/// Throws a FatalError that says for want of a thread what could not be started, and what to do.
[[noreturn]] void refuseThread(const QString& what);

/// What the system calls the error of this number.
[[nodiscard]] QString systemError(int error);

}  // namespace poshost
