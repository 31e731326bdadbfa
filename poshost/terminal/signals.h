#pragma once

#include <QEventLoop>
#include <QObject>
#include <QSocketNotifier>

namespace poshost {

/// Ends the program in good order on SIGINT, SIGTERM and SIGHUP, unless its parent had them ignored.
///
/// The first of them cancels every HTTP exchange of the process, so that a check that is running returns, and
/// ends every SignalLoop; whoever waits then takes everything down. When that takes longer than the grace
/// period, or on a second signal, the process ends at once, whatever it is doing.
///
/// One for the life of the program, made in the thread of the application's event loop.
class Signals : public QObject
{
    Q_OBJECT

public:
    Signals();
    ~Signals() override;

    static Signals& instance();

    /// The number of the first signal that ends the program; 0 when none has come. Threads: any.
    [[nodiscard]] static int received();
    /// Throws FatalError once such a signal has come. Threads: any.
    static void throwIfReceived();

    /// From now on SIGTSTP (Ctrl-Z) sends suspensionRequested() instead of stopping the process.
    static void watchSuspension(bool watch);

    /// From now on SIGHUP sends hungUp() instead of ending the program. Who reads from the terminal learns
    /// there that it has gone.
    static void stayOnHangup();

Q_SIGNALS:
    void interrupted();
    void hungUp();
    void suspensionRequested();

private:
    void readSignals();

    QSocketNotifier m_notifier;
};

/// An event loop that a signal to end the program ends too. Threads: any.
class SignalLoop : public QEventLoop
{
public:
    SignalLoop();

    /// Runs until quit() or a signal; at once when one has come.
    void run();
};

}  // namespace poshost
