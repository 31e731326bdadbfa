#include "poshost/terminal/output.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/terminal.h"
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

qsizetype columnsOf(const QString& text)
{
    static const QRegularExpression colour(QStringLiteral("\x1b\\[[0-9;]*m"));
    return QString(text).remove(colour).size();
}

QString fittedLine(const QString& line, int columns)
{
    static const QRegularExpression piece(QStringLiteral("( *)([^ ]+)"));
    constexpr qsizetype more = 4;
    const qsizetype begin =
        std::find_if(line.begin(), line.end(), [](QChar c) { return c != u' '; }) - line.begin();
    const QString indent(begin + more, u' ');
    QString done;
    QString last;
    for (const auto& match : piece.globalMatch(line)) {
        if (columnsOf(last + match.captured()) > columns && columnsOf(last) > indent.size()) {
            done += last + u'\n';
            last = indent + match.captured(2);
        } else {
            last += match.captured();
        }
    }
    return done + last;
}

}  // namespace

QString fitted(const QString& text, int columns)
{
    if (columns == 0) {
        return text;
    }
    QStringList lines = text.split(u'\n');
    for (QString& line : lines) {
        line = columnsOf(line) > columns ? fittedLine(line, columns) : line;
    }
    return lines.join(u'\n');
}

void printReport(const QString& text)
{
    printOut(fitted(text, styleOf(STDOUT_FILENO, Colours::Never).width));
}

void printOut(const QString& text)
{
    printOut(text.toUtf8());
}

void printOut(const QByteArray& bytes)
{
    if (const int error = writeAll(STDOUT_FILENO, bytes); error != 0) {
        const QString what =
            QStringLiteral("standard output: %1: the result is lost, write it somewhere else")
                .arg(systemError(error));
        if (error == EPIPE) {
            throw ReaderGone(exitstatus::OutputFailed, what);
        }
        throw FatalError(exitstatus::OutputFailed, what);
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

QString jsonLine(QJsonObject object, bool stand)
{
    if (stand) {
        object.insert(QStringLiteral("stand"), true);
    }
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
