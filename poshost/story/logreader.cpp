#include "poshost/story/logreader.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <QHash>

#include "poshost/story/logfile.h"
#include "poshost/story/storybuilder.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"
#include "poshost/terminal/signals.h"

namespace poshost {

namespace {

using LogFiles = std::vector<std::unique_ptr<LogFile>>;

/// The oldest first, so that a check may begin in one and end in the next.
LogFiles openFiles(const QStringList& names)
{
    LogFiles files;
    for (const QString& name : names) {
        files.push_back(std::make_unique<LogFile>(name));
    }
    std::stable_sort(files.begin(), files.end(),
                     [](const auto& one, const auto& other) { return one->time() < other->time(); });
    return files;
}

void tellUnread(const LogFiles& files)
{
    qint64 lines = 0;
    qint64 unread = 0;
    for (const auto& file : files) {
        lines += file->lines();
        unread += file->unread();
        if (file->unread() > 0) {
            printNote(QStringLiteral("story: %1: %2 of %3 lines could not be read, the first is line %4")
                          .arg(file->name(), QString::number(file->unread()), QString::number(file->lines()),
                               QString::number(file->firstUnread())));
        }
    }
    if (lines > 0 && unread == lines) {
        refuse(QStringLiteral("story: no line begins with date and time and has the thread in brackets; set "
                              "[Log] pattern accordingly"));
    }
}

bool isOfKind(const CheckStory& story, Only only)
{
    switch (only) {
    case Only::Any:
        break;
    case Only::Trouble:
        return story.isTrouble();
    case Only::Refused:
        return story.outcome() == Outcome::Refused;
    case Only::Permitted:
        return story.outcome() == Outcome::Permitted;
    }
    return true;
}

/// Sorts the lines of a till's log into checks: the lines of one check stand in its thread, from that with
/// its codes to that with its result.
struct LogReader
{
    struct OpenCheck
    {
        QDateTime begin;
        StoryBuilder builder;
    };

    StoryFilter filter;
    QHash<QString, OpenCheck> open;  ///< by thread
    LogChecks checks;                ///< those that have come to their end
    int withoutBegin = 0;            ///< so that nothing is told of them

    /// Lines come in the order in which they were written.
    void add(const LogLine& line);
    void close(const QString& thread);
};

void LogReader::add(const LogLine& line)
{
    checks.first = checks.first.isValid() ? std::min(checks.first, line.at) : line.at;
    checks.last = checks.last.isValid() ? std::max(checks.last, line.at) : line.at;
    if (codesOfBegin(line.text)) {
        close(line.thread);
        open.insert(line.thread, {line.at, {}});
    }
    const bool ends = isEnd(line.text);
    const auto check = open.find(line.thread);
    if (check == open.end()) {
        withoutBegin += ends ? 1 : 0;
        return;
    }
    if (!line.text.isEmpty()) {
        check->builder.add(std::chrono::milliseconds(check->begin.msecsTo(line.at)), line.text);
    }
    if (ends) {
        close(line.thread);
    }
}

void LogReader::close(const QString& thread)
{
    const auto check = open.find(thread);
    if (check == open.end()) {
        return;
    }
    CheckStory story = check->builder.story();
    story.begin = check->begin;
    story.thread = thread;
    open.erase(check);
    ++checks.seen;
    if (filter.fits(story)) {
        checks.wanted.append(std::move(story));
    }
}

}  // namespace

bool StoryFilter::fits(const CheckStory& story) const
{
    return (!since.isValid() || story.begin >= since) && (!until.isValid() || story.begin < until) &&
           isOfKind(story, only) &&
           std::any_of(story.codes.begin(), story.codes.end(),
                       [this](const QString& each) { return each.contains(code); });
}

LogChecks readLogs(const QStringList& names, const StoryFilter& filter)
{
    const LogFiles files = openFiles(names);
    LogReader reader;
    reader.filter = filter;
    for (const auto& file : files) {
        while (const auto line = file->next()) {
            Signals::throwIfReceived();
            reader.add(*line);
        }
    }
    tellUnread(files);
    for (const QString& thread : reader.open.keys()) {
        reader.close(thread);
    }
    LogChecks& checks = reader.checks;
    std::stable_sort(checks.wanted.begin(), checks.wanted.end(),
                     [](const CheckStory& one, const CheckStory& other) { return one.begin < other.begin; });
    if (reader.withoutBegin > 0) {
        printNote(QStringLiteral("story: checks left out because their begin is not in these logs: %1")
                      .arg(reader.withoutBegin));
    }
    if (checks.seen == 0 && checks.first.isValid()) {
        printNote(QStringLiteral("story: no check in these logs; [Log] level must be info or debug"));
    }
    return std::move(checks);
}

}  // namespace poshost
