#pragma once

#include <mutex>

#include <QStringList>

#include <log4qt/logmanager.h>

/// What is logged from debug level on while the object lives, one at a time in the process. Nothing is
/// written to standard error from then on. Threads: any.
class LogWatch
{
public:
    LogWatch();
    ~LogWatch();
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    /// The lines since the last call as "<level> <text>", in order.
    [[nodiscard]] QStringList take() { return lines(false); }
    /// The lines with their loggers: "<logger>: <level> <text>".
    [[nodiscard]] QStringList takeNamed() { return lines(true); }

private:
    QStringList lines(bool named);

    std::mutex m_mutex;
    QList<Log4Qt::LogRecord> m_records;
};
