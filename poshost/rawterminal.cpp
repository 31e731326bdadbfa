#include "poshost/rawterminal.h"

#include <atomic>

#include <termios.h>
#include <unistd.h>

namespace poshost {

namespace {

termios original;  // written before `changed` is set
std::atomic<bool> changed = false;

}  // namespace

RawTerminal::RawTerminal()
{
    if (::tcgetattr(STDIN_FILENO, &original) != 0) {
        return;
    }
    termios raw = original;
    raw.c_iflag &= ~tcflag_t(ICRNL | INLCR | IGNCR | IXON | ISTRIP);
    raw.c_lflag &= ~tcflag_t(ICANON | ECHO | ECHONL | IEXTEN);
    raw.c_cc[VQUIT] = raw.c_cc[VSUSP] = _POSIX_VDISABLE;
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    changed = true;
    m_isRaw = ::tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
}

RawTerminal::~RawTerminal()
{
    restore();
}

void RawTerminal::restore() noexcept
{
    if (changed.exchange(false)) {
        (void)::tcsetattr(STDIN_FILENO, TCSAFLUSH, &original);
    }
}

}  // namespace poshost
