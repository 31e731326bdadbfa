#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <QCoreApplication>

#include "poshost/commandline.h"
#include "poshost/commands.h"
#include "poshost/exitstatus.h"
#include "poshost/failure.h"
#include "poshost/output.h"

namespace {

/// A standard stream that the caller has closed is one that is empty and cannot be written to: otherwise the
/// next file opened would take its number, and what is meant for the stream.
void occupyStandardStreams()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) == -1) {
            (void)::open("/dev/null", O_RDONLY);
        }
    }
}

/// Texts are UTF-8 here whatever the environment says; Qt would complain of any other.
void useUtf8()
{
    (void)std::setlocale(LC_ALL, "");
    if (std::strcmp(::nl_langinfo(CODESET), "UTF-8") != 0) {
        (void)::setenv("LC_ALL", "C.UTF-8", 1);
    }
}

int runAs(int argc, char** argv)
{
    try {
        const auto options = poshost::parseCommandLine(argc, argv);
        return options ? poshost::run(*options) : poshost::exitstatus::Good;
    } catch (const poshost::Failure& failure) {
        poshost::printNote(failure.line());
        return failure.exitStatus();
    } catch (const std::exception& exception) {
        poshost::printNote(QString::fromLocal8Bit(exception.what()));
        return poshost::exitstatus::Usage;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    occupyStandardStreams();
    useUtf8();
    // A failed write is reported where it happens.
    (void)std::signal(SIGPIPE, SIG_IGN);
    const QCoreApplication app(argc, argv);
    return runAs(argc, argv);
}
