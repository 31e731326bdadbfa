#include "tests/doubles/logwatch.h"

#include <utility>

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

QStringList LogWatch::lines(bool named)
{
    static const QStringList levels = {"trace", "debug", "info", "warn", "error", "fatal", "off"};
    const std::lock_guard lock(m_mutex);
    QStringList lines;
    for (const auto& record : std::exchange(m_records, {})) {
        lines.append((named ? record.logger + ": " : QString()) + levels.at(static_cast<int>(record.level)) +
                     ' ' + record.text);
    }
    return lines;
}
