#include <log4qt/logger.h>

#include <utility>

#include <log4qt/logmanager.h>

namespace Log4Qt {

Logger::Logger(QString name)
    : m_name(std::move(name))
{
}

bool Logger::isEnabledFor(Level level) const
{
    return LogManager::isEnabledFor(level);
}

void Logger::log(Level level, const QString& text) const
{
    if (isEnabledFor(level)) {
        LogManager::write(level, m_name, text);
    }
}

}  // namespace Log4Qt
