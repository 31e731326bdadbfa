#pragma once

#include <exception>

#include <QByteArray>
#include <QString>

namespace poshost {

/// Ends the program early: one line for standard error (what, where, what to do) and an exit status.
/// Thrown anywhere, caught in main() alone.
class Failure : public std::exception
{
public:
    Failure(int exitStatus, const QString& line);

    [[nodiscard]] int exitStatus() const { return m_exitStatus; }
    [[nodiscard]] QString line() const { return QString::fromUtf8(m_line); }
    [[nodiscard]] const char* what() const noexcept override { return m_line.constData(); }

private:
    int m_exitStatus;
    QByteArray m_line;
};

/// A Failure with exitstatus::Usage.
[[noreturn]] void refuse(const QString& line);

/// What the system calls the error of this number.
[[nodiscard]] QString systemError(int error);

}  // namespace poshost
