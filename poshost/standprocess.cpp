#include "poshost/standprocess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "poshost/failure.h"

extern char** environ;

namespace poshost {

namespace {

constexpr int readyTimeout = 30'000;  // milliseconds; a sanitizer build on a busy machine is slow
constexpr int endTimeout = 2'000;     // milliseconds

/// What a child is started with, for the lifetime of the object.
class SpawnPlan
{
public:
    SpawnPlan()
    {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigaddset(&signals, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        // A group of its own: Ctrl-C reaches this process alone, which then ends the child.
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes,
                                 POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan()
    {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }

    posix_spawn_file_actions_t actions = {};
    posix_spawnattr_t attributes = {};
};

/// An open file without a name that holds `content`.
FileDescriptor inMemory(const char* name, const QByteArray& content)
{
    FileDescriptor file(::memfd_create(name, MFD_CLOEXEC));
    if (!file.isOpen() ||
        ::pwrite(file.get(), content.constData(), size_t(content.size()), 0) != content.size()) {
        refuse(QStringLiteral("stand: cannot start: %1").arg(systemError(errno)));
    }
    return file;
}

StandInfo parseReady(const QJsonObject& ready)
{
    StandInfo info;
    for (const QJsonValue value : ready.value(QLatin1String("operators")).toArray()) {
        info.operators.append(value[QLatin1String("url")].toString());
    }
    for (const QJsonValue value : ready.value(QLatin1String("keys")).toArray()) {
        info.keys.append(value.toString());
    }
    for (const QJsonValue value : ready.value(QLatin1String("modules")).toArray()) {
        info.modules.append({value[QLatin1String("url")].toString(), value[QLatin1String("user")].toString(),
                             value[QLatin1String("password")].toString(),
                             value[QLatin1String("token")].toString()});
    }
    info.caFile = ready.value(QLatin1String("caFile")).toString();
    return info;
}

}  // namespace

StandProcess::StandProcess(const QByteArray& scenario, const SignalWatch& signals)
{
    const QString program = QCoreApplication::applicationDirPath() + QLatin1String("/marksim");
    if (!QFileInfo(program).isExecutable()) {
        refuse(QStringLiteral(
                   "stand: no program %1; build or install it, or give your own settings with --config")
                   .arg(program));
    }
    try {
        const FileDescriptor scenarioFile = inMemory("scenario", scenario);
        start(program, scenario.isEmpty() ? -1 : scenarioFile.get());
        const QJsonObject ready = QJsonDocument::fromJson(readReadyLine(signals)).object();
        if (!ready.value(QLatin1String("ready")).toBool()) {
            failStart();
        }
        m_info = parseReady(ready);
    } catch (...) {
        stop();
        throw;
    }
}

StandProcess::~StandProcess()
{
    stop();
}

void StandProcess::start(const QString& program, int scenarioFd)
{
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        refuse(QStringLiteral("stand: cannot start: %1").arg(systemError(errno)));
    }
    m_out = FileDescriptor(ends[0]);
    const FileDescriptor in(ends[1]);
    m_errors = inMemory("errors", {});

    SpawnPlan plan;
    std::vector<QByteArray> words = {program.toLocal8Bit(), QByteArrayLiteral("--die-with-parent")};
    posix_spawn_file_actions_addopen(&plan.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&plan.actions, in.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&plan.actions, m_errors.get(), STDERR_FILENO);
    if (scenarioFd >= 0) {
        posix_spawn_file_actions_adddup2(&plan.actions, scenarioFd, STDERR_FILENO + 1);
        words.insert(words.end(), {QByteArrayLiteral("--scenario"), QByteArrayLiteral("/proc/self/fd/3")});
    }
    std::vector<char*> argv;
    std::transform(words.begin(), words.end(), std::back_inserter(argv),
                   [](QByteArray& word) { return word.data(); });
    argv.push_back(nullptr);

    const int error =
        ::posix_spawn(&m_pid, argv.front(), &plan.actions, &plan.attributes, argv.data(), environ);
    if (error != 0) {
        m_pid = -1;
        refuse(QStringLiteral("stand: cannot start %1: %2").arg(program, systemError(error)));
    }
    m_pidFd = FileDescriptor(int(::syscall(SYS_pidfd_open, m_pid, 0)));
}

QByteArray StandProcess::readReadyLine(const SignalWatch& signals)
{
    QByteArray line;
    while (!line.endsWith('\n')) {
        std::array sources = {pollfd{m_out.get(), POLLIN, 0}, pollfd{signals.stopFd(), POLLIN, 0}};
        const int ready = ::poll(sources.data(), sources.size(), readyTimeout);
        signals.throwIfReceived();
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        std::array<char, 4096> buffer;
        const ssize_t count = ready > 0 ? ::read(m_out.get(), buffer.data(), buffer.size()) : 0;
        if (count <= 0) {
            failStart();
        }
        line.append(buffer.data(), count);
    }
    return line;
}

void StandProcess::failStart()
{
    (void)waitForEnd(endTimeout);
    QByteArray said(2048, '\0');
    said.resize(qMax<ssize_t>(0, ::pread(m_errors.get(), said.data(), size_t(said.size()), 0)));
    refuse(QStringLiteral("stand: did not come up: %1")
               .arg(said.isEmpty() ? QStringLiteral("it said nothing; run marksim by itself to see why")
                                   : QString::fromUtf8(said)));
}

bool StandProcess::waitForEnd(int milliseconds) const noexcept
{
    pollfd source = {m_pidFd.get(), POLLIN, 0};
    int ready = 0;
    do {
        ready = ::poll(&source, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

void StandProcess::stop() noexcept
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGTERM);
        if (!waitForEnd(endTimeout)) {
            ::kill(m_pid, SIGKILL);
        }
        while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
        }
        m_pid = -1;
    }
}

}  // namespace poshost
