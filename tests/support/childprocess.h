#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

/// What became of a program.
struct ProcessOutcome
{
    bool ended = false;    ///< by itself, in time and not by a signal
    int exitStatus = -1;   ///< when it ended
    QByteArray output;     ///< standard output
    QByteArray errors;     ///< standard error
    QStringList children;  ///< programs that it started and that are still running
};

/// A program under test as a child process, killed with the object should it still run. It and everything
/// that it starts bear a mark in their environment, so that what it leaves behind can be found.
class ChildProcess
{
public:
    /// Starts it; `environment` is added to the test's own ("NAME=value"). Throws std::runtime_error.
    ChildProcess(const QString& program, const QStringList& arguments, const QStringList& environment = {});
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    /// Writes to its standard input and closes that.
    void giveInput(const QByteArray& input);
    /// Its next line on standard output; empty when it ends or is silent for too long.
    [[nodiscard]] QByteArray readLine();
    /// Waits until it has written `text` to standard error; false when it ends or is silent for too long.
    [[nodiscard]] bool waitForError(const QByteArray& text);
    void sendSignal(int number) const;
    [[nodiscard]] qint64 processId() const { return m_process.processId(); }
    /// Waits until it has ended.
    ProcessOutcome wait();

private:
    [[nodiscard]] QStringList runningChildren() const;

    QByteArray m_mark;
    QProcess m_process;
    QByteArray m_errors;
};

/// Runs a program to its end.
ProcessOutcome runProcess(const QString& program, const QStringList& arguments, const QByteArray& input = {},
                          const QStringList& environment = {});
