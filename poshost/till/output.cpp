#include "poshost/till/output.h"

#include <cerrno>

#include <unistd.h>

#include <QByteArray>
#include <QJsonDocument>

#include "poshost/till/fatalerror.h"
#include <utils/printable.h>

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
        throw FatalError(exitstatus::OutputFailed,
                         QStringLiteral("standard output: %1: the result is lost, write it somewhere else")
                             .arg(systemError(error)));
    }
}

QString oneLine(const QString& text)
{
    return utils::printable(text.simplified());
}

QString shownAddress(const QUrl& url)
{
    QUrl shown = url;
    if (!shown.userInfo().isEmpty()) {
        shown.setUserInfo(QStringLiteral("***"));
    }
    return shown.toString(QUrl::FullyEncoded);
}

QString jsonLine(const QJsonObject& object)
{
    return utils::printable(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact))) + u'\n';
}

void printNote(const QString& line)
{
    printError(QStringLiteral("poshost: %1\n").arg(oneLine(line)));
}

void printError(const QString& text)
{
    (void)writeAll(STDERR_FILENO, text.toUtf8());
}

}  // namespace poshost
