#include "poshost/story/logfile.h"

#include <cerrno>
#include <utility>

#include <unistd.h>
#include <zlib.h>

#include <QFile>
#include <QRegularExpression>

#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/input.h"

namespace poshost {

std::optional<LogLine> readLine(const QByteArray& line)
{
    static const QRegularExpression anyLine(
        QStringLiteral(R"(^(\d{4}-\d\d-\d\d)[ T](\d\d:\d\d:\d\d(?:[.,]\d{1,9})?)\s(.*)$)"));
    static const QRegularExpression threadAndText(QStringLiteral(
        R"(^.*?\[(\d+|0x[0-9A-Fa-f]+)\](?:\s+\S+)?\s+\[?(?:crptclient|lmchz|crptservice)\]?[\s:-]+(.*)$)"));
    static const QRegularExpression threadOnly(QStringLiteral(R"(\[(\d+|0x[0-9A-Fa-f]+)\])"));
    const auto dated = anyLine.match(QString::fromUtf8(line.trimmed()));
    LogLine read;
    read.at = QDateTime::fromString(dated.captured(1) + u'T' + dated.captured(2), Qt::ISODateWithMs);
    if (!read.at.isValid()) {
        return std::nullopt;
    }
    const QString rest = dated.captured(3);
    if (const auto ours = threadAndText.match(rest); ours.hasMatch()) {
        read.thread = ours.captured(1);
        read.text = ours.captured(2);
    } else if (const auto others = threadOnly.match(rest); others.hasMatch()) {
        read.thread = others.captured(1);
    } else {
        return std::nullopt;
    }
    return read;
}

LogFile::LogFile(const QString& name)
    : m_name(inputName(name))
{
    m_file.reset(name == QLatin1String("-") ? ::gzdopen(::dup(STDIN_FILENO), "rb")
                                            : ::gzopen(QFile::encodeName(name).constData(), "rb"));
    if (!m_file) {
        refuseFile(systemError(errno));
    }
    m_next = readNext();
}

void LogFile::Closer::operator()(gzFile_s* file) const
{
    ::gzclose(file);
}

std::optional<LogLine> LogFile::next()
{
    return m_next ? std::exchange(m_next, readNext()) : std::nullopt;
}

std::optional<LogLine> LogFile::readNext()
{
    while (const auto bytes = readBytes()) {
        ++m_lines;
        if (auto line = readLine(*bytes)) {
            return line;
        }
        ++m_unread;
        m_firstUnread = m_firstUnread == 0 ? m_lines : m_firstUnread;
    }
    return std::nullopt;
}

/// The next line, without its line feed.
std::optional<QByteArray> LogFile::readBytes()
{
    QByteArray line;
    int byte = gzgetc(m_file.get());
    const bool isAtEnd = byte < 0;
    while (byte >= 0 && byte != '\n') {
        line += char(byte);
        byte = gzgetc(m_file.get());
    }
    int error = Z_OK;
    const char* why = ::gzerror(m_file.get(), &error);
    if (error != Z_OK) {
        refuseFile(error == Z_ERRNO ? systemError(errno) : QString::fromLocal8Bit(why));
    }
    return isAtEnd ? std::nullopt : std::optional(line);
}

void LogFile::refuseFile(const QString& why) const
{
    refuse(QStringLiteral("story: %1: %2; leave it out or give another").arg(m_name, why));
}

}  // namespace poshost
