#pragma once

#include <mutex>
#include <utility>

#include <QStringList>

#include <log4qt/logmanager.h>

/// What is logged from debug level on while the object lives, one at a time in the process. Nothing is
/// written to standard error from then on. Threads: any.
class LogWatch
{
public:
    LogWatch()
    {
        Log4Qt::LogManager::configure({.level = Log4Qt::Level::Debug, .file = "/dev/null"});
        Log4Qt::LogManager::setWatcher([this](const Log4Qt::LogRecord& record) {
            const std::lock_guard lock(m_mutex);
            m_records.append(record);
        });
    }
    ~LogWatch() { Log4Qt::LogManager::setWatcher({}); }
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    /// The lines since the last call as "<level> <text>", in order.
    [[nodiscard]] QStringList take() { return lines(false); }
    /// The lines with their loggers: "<logger>: <level> <text>".
    [[nodiscard]] QStringList takeNamed() { return lines(true); }

private:
    QStringList lines(bool named)
    {
        static const QStringList levels = {"trace", "debug", "info", "warn", "error", "fatal", "off"};
        const std::lock_guard lock(m_mutex);
        QStringList lines;
        for (const auto& record : std::exchange(m_records, {})) {
            lines.append((named ? record.logger + ": " : QString()) + levels.at(int(record.level)) + ' ' +
                         record.text);
        }
        return lines;
    }

    std::mutex m_mutex;
    QList<Log4Qt::LogRecord> m_records;
};
