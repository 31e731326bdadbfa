#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <QCoreApplication>

#include "poshost/commandline.h"
#include "poshost/language.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/signals.h"
#include "poshost/verbs/verbs.h"

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

int run(int argc, char** argv)
{
    CLI::App app(
        "A console point-of-sale host: loads the marking plug-in as a till does and has it check codes.",
        "poshost");
    poshost::CommandLine line(app);
    poshost::addVerbs(line);
    const std::function<int()> work = line.parse(argc, argv);
    if (!work) {
        return poshost::exitstatus::Good;
    }
    const poshost::Signals signals;
    return work();
}

int statusOf(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const poshost::FatalError& error) {
        poshost::printNote(error.line());
        return error.exitStatus();
    } catch (const std::exception& exception) {
        poshost::printNote(QString::fromLocal8Bit(exception.what()));
        return poshost::exitstatus::Usage;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    occupyStandardStreams();
    poshost::setLanguage(poshost::languageOfEnvironment());
    useUtf8();  // changes the environment
    // A failed write is reported where it happens.
    (void)std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication app(argc, argv);
    QMetaObject::invokeMethod(
        &app, [&] { QCoreApplication::exit(statusOf(argc, argv)); }, Qt::QueuedConnection);
    return QCoreApplication::exec();
}
