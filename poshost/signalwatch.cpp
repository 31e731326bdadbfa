#include "poshost/signalwatch.h"

#include <array>
#include <chrono>
#include <csignal>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <network/restclient.h>

#include "poshost/failure.h"
#include "poshost/output.h"
#include "poshost/rawterminal.h"

namespace poshost {

namespace {

/// How long a clean end may take.
constexpr std::chrono::milliseconds patience{900};

FileDescriptor checked(int fd)
{
    if (fd < 0) {
        throw std::system_error(errno, std::generic_category(), "watching signals");
    }
    return FileDescriptor(fd);
}

/// Blocks the signals that end the program. One that the parent had ignored (nohup) stays ignored.
sigset_t blockSignals()
{
    sigset_t watched;
    sigemptyset(&watched);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&watched, signal);
        }
    }
    pthread_sigmask(SIG_BLOCK, &watched, nullptr);
    return watched;
}

int readSignal(int signalFd)
{
    signalfd_siginfo info = {};
    return ::read(signalFd, &info, sizeof info) == ssize_t(sizeof info) ? int(info.ssi_signo) : 0;
}

}  // namespace

SignalWatch::SignalWatch()
    : m_stop(checked(::eventfd(0, EFD_CLOEXEC)))
    , m_quit(checked(::eventfd(0, EFD_CLOEXEC)))
{
    const sigset_t watched = blockSignals();
    m_signals = checked(::signalfd(-1, &watched, SFD_CLOEXEC));
    m_watcher = std::thread(&SignalWatch::watch, this);
}

SignalWatch::~SignalWatch()
{
    (void)::eventfd_write(m_quit.get(), 1);
    m_watcher.join();
}

void SignalWatch::watch()
{
    std::array<pollfd, 2> sources = {pollfd{m_signals.get(), POLLIN, 0}, pollfd{m_quit.get(), POLLIN, 0}};
    int timeout = -1;
    for (;;) {
        const int ready = ::poll(sources.data(), sources.size(), timeout);
        if (ready < 0) {
            continue;
        }
        if (sources[1].revents != 0) {
            return;
        }
        if (received() != 0) {  // out of patience, or a second signal
            forceEnd(received());
        }
        m_received = readSignal(m_signals.get());
        (void)::eventfd_write(m_stop.get(), 1);
        RestClient::cancelAll(true);
        timeout = int(patience.count());
    }
}

void SignalWatch::forceEnd(int signal) const
{
    RawTerminal::restore();
    printNote(QStringLiteral("ended before the plug-in was done"));
    ::_exit(128 + signal);
}

void SignalWatch::throwIfReceived() const
{
    if (const int signal = received(); signal != 0) {
        throw Failure(128 + signal, QStringLiteral("interrupted by %1")
                                        .arg(QString::fromLatin1(signal == SIGINT    ? "SIGINT"
                                                                 : signal == SIGTERM ? "SIGTERM"
                                                                                     : "SIGHUP")));
    }
}

}  // namespace poshost
