#include "poshost/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <QByteArray>
#include <QtGlobal>

namespace poshost {

bool isTerminal(int fd)
{
    return ::isatty(fd) == 1;
}

int terminalWidth(int fd)
{
    winsize size = {};
    return isTerminal(fd) && ::ioctl(fd, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool showsColours(int fd)
{
    return isTerminal(fd) && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

}  // namespace poshost
