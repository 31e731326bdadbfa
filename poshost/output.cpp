#include "poshost/output.h"

#include <cerrno>

#include <unistd.h>

#include <QByteArray>

#include "poshost/exitstatus.h"
#include "poshost/failure.h"

namespace poshost {

namespace {

/// 0, or the number of the error that ended the writing.
int writeAll(int fd, const QByteArray& bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written >= 0) {
            done += written;
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

}  // namespace

void printOut(const QString& text)
{
    printOut(text.toUtf8());
}

void printOut(const QByteArray& bytes)
{
    if (const int error = writeAll(STDOUT_FILENO, bytes); error != 0) {
        throw Failure(exitstatus::OutputFailed,
                      QStringLiteral("standard output: %1: the result is lost, write it somewhere else")
                          .arg(systemError(error)));
    }
}

void printNote(const QString& line)
{
    printError(QStringLiteral("poshost: %1\n").arg(line));
}

void printError(const QString& text)
{
    (void)writeAll(STDERR_FILENO, text.toUtf8());
}

}  // namespace poshost
