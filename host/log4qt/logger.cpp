#include <log4qt/logger.h>

#include <utility>

#include <log4qt/logoutput.h>
#include <spdlog/logger.h>

namespace Log4Qt {

Logger::Logger(QString name, std::shared_ptr<spdlog::logger> sink)
    : m_name(std::move(name))
    , m_sink(std::move(sink))
{
}

Logger::~Logger() = default;

bool Logger::isEnabledFor(Level level) const
{
    return level != Level::Off && m_sink->should_log(LogOutput::spdlogLevel(level));
}

void Logger::log(Level level, const QString& text) const
{
    if (isEnabledFor(level)) {
        LogOutput::instance().write(*m_sink, level, m_name, text);
    }
}

}  // namespace Log4Qt
