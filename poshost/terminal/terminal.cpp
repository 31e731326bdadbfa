#include "poshost/terminal/terminal.h"

#include <atomic>
#include <csignal>

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <QByteArray>
#include <QtGlobal>

#include "poshost/terminal/signals.h"

namespace poshost {

namespace {

termios original;  // written before `changed` is set
std::atomic<bool> changed = false;

bool showsColours(int fd)
{
    return isTerminal(fd) && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

}  // namespace

bool isTerminal(int fd)
{
    return ::isatty(fd) == 1;
}

Style styleOf(int fd, Colours colours)
{
    winsize size = {};
    const bool hasSize = isTerminal(fd) && ::ioctl(fd, TIOCGWINSZ, &size) == 0;
    return {colours == Colours::Always || (colours == Colours::Auto && showsColours(fd)),
            hasSize ? size.ws_col : 0};
}

RawTerminal::RawTerminal()
{
    if (::tcgetattr(STDIN_FILENO, &original) == 0) {
        makeRaw();
        Signals::watchSuspension(m_isRaw);
    }
}

RawTerminal::~RawTerminal()
{
    restore();
    if (m_isRaw) {
        Signals::watchSuspension(false);
    }
}

void RawTerminal::makeRaw()
{
    termios raw = original;
    raw.c_iflag &= ~tcflag_t(ICRNL | INLCR | IGNCR | IXON | ISTRIP);
    raw.c_lflag &= ~tcflag_t(ICANON | ECHO | ECHONL | IEXTEN);
    raw.c_cc[VQUIT] = _POSIX_VDISABLE;
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    changed = true;
    m_isRaw = ::tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
}

void RawTerminal::suspend()
{
    restore();
    (void)::raise(SIGSTOP);
    makeRaw();
}

void RawTerminal::restore() noexcept
{
    if (changed.exchange(false)) {
        (void)::tcsetattr(STDIN_FILENO, TCSAFLUSH, &original);
    }
}

}  // namespace poshost
