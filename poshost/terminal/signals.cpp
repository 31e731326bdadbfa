#include "poshost/terminal/signals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <tuple>

#include <fcntl.h>
#include <unistd.h>

#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/terminal.h"
#include <network/restclient.h>

namespace poshost {

namespace {

constexpr unsigned gracePeriod = 1;  // seconds that a clean end may take

std::atomic<int> first = 0;
static_assert(std::atomic<int>::is_always_lock_free, "for a signal's handler");
/// What the handler writes to and the event loop reads from.
std::array<int, 2> wakeUp = {-1, -1};
Signals* only = nullptr;
std::atomic<bool> staysOnHangup = false;

[[noreturn]] void endAtOnce()
{
    RawTerminal::restore();
    static constexpr char note[] = "poshost: ended before the plug-in was done\n";
    std::ignore = ::write(STDERR_FILENO, note, sizeof note - 1);
    ::_exit(128 + first);
}

/// Runs at any moment in any thread: nothing but what is safe there.
void handle(int signal)
{
    const int error = errno;
    if (signal != SIGTSTP && (signal != SIGHUP || !staysOnHangup)) {
        int none = 0;
        if (signal == SIGALRM || !first.compare_exchange_strong(none, signal)) {
            endAtOnce();
        }
        ::alarm(gracePeriod);
    }
    const char byte = char(signal);
    std::ignore = ::write(wakeUp[1], &byte, 1);  // a full pipe wakes the event loop, too
    errno = error;
}

void setHandler(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal)
{
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

int openWakeUp()
{
    if (::pipe2(wakeUp.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category(), "watching signals");
    }
    return wakeUp[0];
}

}  // namespace

Signals::Signals()
    : m_notifier(openWakeUp(), QSocketNotifier::Read)
{
    only = this;
    connect(&m_notifier, &QSocketNotifier::activated, this, &Signals::readSignals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        // One that the parent had ignored (nohup) stays ignored.
        if (!isIgnored(signal)) {
            setHandler(signal, &handle);
        }
    }
    setHandler(SIGALRM, &handle);
}

Signals::~Signals()
{
    // The handlers stay: the end of the program may still be forced.
    only = nullptr;
}

Signals& Signals::instance()
{
    return *only;
}

int Signals::received()
{
    return first;
}

void Signals::throwIfReceived()
{
    if (const int signal = received(); signal != 0) {
        throw FatalError(128 + signal, QStringLiteral("interrupted by %1")
                                           .arg(QString::fromLatin1(signal == SIGINT    ? "SIGINT"
                                                                    : signal == SIGTERM ? "SIGTERM"
                                                                                        : "SIGHUP")));
    }
}

void Signals::watchSuspension(bool watch)
{
    setHandler(SIGTSTP, watch ? &handle : SIG_DFL);
}

void Signals::stayOnHangup()
{
    staysOnHangup = true;
}

void Signals::readSignals()
{
    std::array<char, 16> bytes{};
    const ssize_t count = ::read(wakeUp[0], bytes.data(), bytes.size());
    for (ssize_t i = 0; i < count; ++i) {
        if (bytes.at(size_t(i)) == SIGTSTP) {
            Q_EMIT suspensionRequested();
        } else if (bytes.at(size_t(i)) == SIGHUP && received() == 0) {
            Q_EMIT hungUp();
        } else {
            RestClient::cancelAll(true);
            Q_EMIT interrupted();
        }
    }
}

SignalLoop::SignalLoop()
{
    connect(&Signals::instance(), &Signals::interrupted, this, &QEventLoop::quit);
}

void SignalLoop::run()
{
    if (Signals::received() == 0) {
        exec();
    }
}

}  // namespace poshost
