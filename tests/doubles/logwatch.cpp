#include "tests/doubles/logwatch.h"

#include <utility>

namespace {

QString lineOf(const Log4Qt::LogRecord& record)
{
    static const QStringList levels = {"trace", "debug", "info", "warn", "error", "fatal", "off"};
    return levels.at(static_cast<int>(record.level)) + ' ' + record.text;
}

}  // namespace

LogWatch::LogWatch()
{
    Log4Qt::LogManager::configure({.level = Log4Qt::Level::Debug, .file = "/dev/null"});
    Log4Qt::LogManager::setWatcher([this](const Log4Qt::LogRecord& record) {
        const std::lock_guard lock(m_mutex);
        m_records.append(record);
    });
}

LogWatch::~LogWatch()
{
    Log4Qt::LogManager::setWatcher({});
}

QStringList LogWatch::take()
{
    const std::lock_guard lock(m_mutex);
    QStringList lines;
    for (const auto& record : std::exchange(m_records, {})) {
        lines.append(lineOf(record));
    }
    return lines;
}

QStringList LogWatch::takeNamed()
{
    const std::lock_guard lock(m_mutex);
    QStringList lines;
    for (const auto& record : std::exchange(m_records, {})) {
        lines.append(record.logger + ": " + lineOf(record));
    }
    return lines;
}
