#pragma once

#include <functional>

#include <QHash>
#include <QStringList>

#include "poshost/story/checkstory.h"
#include "poshost/story/logfile.h"
#include "poshost/story/storybuilder.h"

namespace poshost {

/// Of what kind they are wanted.
enum class Only { Any, Trouble, Refused, Permitted };

/// Which checks are wanted.
struct StoryFilter
{
    QDateTime since;  ///< they began then or later; invalid: always
    QDateTime until;  ///< they began before; invalid: always
    QString code;     ///< part of one of their codes; empty: any
    Only only = Only::Any;

    [[nodiscard]] bool fits(const CheckStory& story) const;
};

/// Sorts the lines of a till's log into checks: the lines of one check stand in its thread, from that with
/// its codes to that with its result.
class LogReader
{
public:
    explicit LogReader(StoryFilter filter);

    /// Lines come in the order in which they were written.
    void add(const LogLine& line);

    /// The checks that were wanted, in the order of their begins; of those that have not come to an end what
    /// there is. Nothing may be added after that.
    [[nodiscard]] QList<CheckStory> takeChecks();
    /// Checks whose begin was missing, so that nothing is told of them.
    [[nodiscard]] int withoutBegin() const { return m_withoutBegin; }
    /// Checks in all, also those that were not wanted.
    [[nodiscard]] qint64 seen() const { return m_seen; }
    /// Times of the oldest and the newest line; invalid without any.
    [[nodiscard]] const QDateTime& first() const { return m_first; }
    [[nodiscard]] const QDateTime& last() const { return m_last; }

private:
    struct OpenCheck
    {
        QDateTime begin;
        StoryBuilder builder;
    };

    void close(const QString& thread);

    StoryFilter m_filter;
    QHash<QString, OpenCheck> m_open;  // by thread
    QList<CheckStory> m_checks;
    int m_withoutBegin = 0;
    qint64 m_seen = 0;
    QDateTime m_first;
    QDateTime m_last;
};

/// What logs hold.
struct LogChecks
{
    QList<CheckStory> wanted;
    qint64 seen = 0;  ///< checks in all
    QDateTime first;  ///< the period of the lines
    QDateTime last;
};

/// Reads the files, in whatever order they are given, the oldest first. What could not be read is told on
/// standard error. Throws FatalError for a file that is none, for logs of which nothing can be read, and for
/// a signal.
[[nodiscard]] LogChecks readLogs(const QStringList& names, const StoryFilter& filter);

}  // namespace poshost
