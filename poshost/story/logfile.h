#pragma once

#include <memory>
#include <optional>

#include <QByteArray>
#include <QDateTime>
#include <QString>

struct gzFile_s;

namespace poshost {

/// A line of a log, of whoever wrote it.
struct LogLine
{
    QDateTime at;  ///< local time
    QString thread;
    QString text;  ///< empty when the plug-in did not write the line
};

/// Reads a line of the pattern that the host SDK has, and of similar ones: it begins with date and time
/// ("2026-11-22 22:47:17.520", with "T" or a comma as well), the number of the thread stands in brackets
/// before the logger's name, and the text behind that. Nothing when it has no date or no thread.
[[nodiscard]] std::optional<LogLine> readLine(const QByteArray& line);

/// A log file that is read from its begin to its end, plain or compressed by gzip.
class LogFile
{
public:
    /// "-" is standard input. Throws FatalError when the file cannot be opened or read, here and in next().
    explicit LogFile(const QString& name);

    [[nodiscard]] const QString& name() const { return m_name; }
    /// Time of the next line that can be read; invalid at the end.
    [[nodiscard]] QDateTime time() const { return m_next ? m_next->at : QDateTime(); }
    /// The next line that can be read; nothing at the end.
    [[nodiscard]] std::optional<LogLine> next();

    /// Lines so far, and those of them that could not be read.
    [[nodiscard]] qint64 lines() const { return m_lines; }
    [[nodiscard]] qint64 unread() const { return m_unread; }
    /// Number of the first of these.
    [[nodiscard]] qint64 firstUnread() const { return m_firstUnread; }

private:
    struct Closer
    {
        void operator()(gzFile_s* file) const;
    };

    [[nodiscard]] std::optional<LogLine> readNext();
    [[nodiscard]] std::optional<QByteArray> readBytes();
    [[noreturn]] void refuseFile(const QString& why) const;

    QString m_name;
    std::unique_ptr<gzFile_s, Closer> m_file;
    qint64 m_lines = 0;
    qint64 m_unread = 0;
    qint64 m_firstUnread = 0;
    std::optional<LogLine> m_next;
};

}  // namespace poshost
