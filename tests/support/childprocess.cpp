#include "tests/support/childprocess.h"

#include <csignal>
#include <stdexcept>

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QUuid>

namespace {

constexpr int longWait = 60'000;  // milliseconds; far above anything that works

}  // namespace

ChildProcess::ChildProcess(const QString& program, const QStringList& arguments,
                           const QStringList& environment)
    : m_mark("TEST_PROCESS_MARK=" + QUuid::createUuid().toByteArray())
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const QString& variable : environment + QStringList{m_mark}) {
        variables.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    }
    m_process.setProcessEnvironment(variables);
    m_process.setProgram(program);
    m_process.setArguments(arguments);
    // A test that runs in the background of a shell has SIGINT ignored.
    m_process.setChildProcessModifier([] {
        for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
            (void)std::signal(number, SIG_DFL);
        }
    });
    m_process.start();
    if (!m_process.waitForStarted(longWait)) {
        throw std::runtime_error("cannot start " + program.toStdString());
    }
}

ChildProcess::~ChildProcess()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(longWait);
    }
}

void ChildProcess::giveInput(const QByteArray& input)
{
    m_process.write(input);
    m_process.closeWriteChannel();
}

QByteArray ChildProcess::readLine()
{
    m_process.setReadChannel(QProcess::StandardOutput);
    while (!m_process.canReadLine() && m_process.waitForReadyRead(longWait)) {
    }
    return m_process.readLine();
}

bool ChildProcess::waitForError(const QByteArray& text)
{
    for (;;) {
        m_errors += m_process.readAllStandardError();
        if (m_errors.contains(text)) {
            return true;
        }
        m_process.setReadChannel(QProcess::StandardError);
        if (!m_process.waitForReadyRead(longWait)) {
            return false;
        }
    }
}

void ChildProcess::sendSignal(int number) const
{
    ::kill(static_cast<pid_t>(m_process.processId()), number);
}

ProcessOutcome ChildProcess::wait()
{
    ProcessOutcome outcome;
    const bool finished = m_process.state() == QProcess::NotRunning || m_process.waitForFinished(longWait);
    outcome.ended = finished && m_process.exitStatus() == QProcess::NormalExit;
    outcome.exitStatus = outcome.ended ? m_process.exitCode() : -1;
    outcome.output = m_process.readAllStandardOutput();
    outcome.errors = m_errors + m_process.readAllStandardError();
    outcome.children = runningChildren();
    return outcome;
}

QStringList ChildProcess::runningChildren() const
{
    QStringList found;
    for (const QString& number : QDir("/proc").entryList({"[1-9]*"}, QDir::Dirs)) {
        QFile environment("/proc/" + number + "/environ");
        QFile command("/proc/" + number + "/cmdline");
        if (number.toLongLong() != m_process.processId() && environment.open(QIODevice::ReadOnly) &&
            environment.readAll().contains(m_mark) && command.open(QIODevice::ReadOnly)) {
            found << QString::fromLocal8Bit(command.readAll().replace('\0', ' ')).trimmed();
        }
    }
    return found;
}

ProcessOutcome runProcess(const QString& program, const QStringList& arguments, const QByteArray& input,
                          const QStringList& environment)
{
    ChildProcess process(program, arguments, environment);
    process.giveInput(input);
    return process.wait();
}
