#pragma once

#include <QDateTime>
#include <QStringList>

#include "poshost/story/checkstory.h"

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
