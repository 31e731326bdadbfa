#pragma once

#include <atomic>
#include <thread>

#include "poshost/filedescriptor.h"

namespace poshost {

/// Ends the program in good order on SIGINT, SIGTERM and SIGHUP, unless its parent had them ignored.
///
/// The first signal cancels every HTTP exchange of the process, so that a check that is running returns, and
/// makes stopFd() readable; whoever waits then takes everything down. When that takes too long, or on a
/// second signal, the process ends at once.
///
/// Made before any other thread: they must all inherit the blocked signals.
class SignalWatch
{
public:
    SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;
    ~SignalWatch();

    /// The first signal's number; 0 when none has come.
    [[nodiscard]] int received() const { return m_received.load(); }
    /// Readable from the first signal on; for poll(). Nobody reads it.
    [[nodiscard]] int stopFd() const { return m_stop.get(); }
    /// Throws Failure once a signal has come.
    void throwIfReceived() const;

private:
    void watch();
    void forceEnd(int signal) const;

    FileDescriptor m_signals;
    FileDescriptor m_stop;
    FileDescriptor m_quit;
    std::atomic<int> m_received = 0;
    std::thread m_watcher;
};

}  // namespace poshost
