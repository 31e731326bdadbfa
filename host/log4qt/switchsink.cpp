#include <log4qt/switchsink.h>

#include <utility>

namespace Log4Qt {

SwitchSink::SwitchSink(std::shared_ptr<spdlog::sinks::sink> target)
    : m_target(std::move(target))
{
}

void SwitchSink::switchTo(std::shared_ptr<spdlog::sinks::sink> target)
{
    const std::lock_guard lock(m_targetMutex);
    m_target.swap(target);
}

void SwitchSink::log(const spdlog::details::log_msg& message)
{
    const std::lock_guard lock(m_targetMutex);
    m_target->log(message);
}

void SwitchSink::flush()
{
    const std::lock_guard lock(m_targetMutex);
    m_target->flush();
}

void SwitchSink::set_pattern(const std::string& pattern)
{
    const std::lock_guard lock(m_targetMutex);
    m_target->set_pattern(pattern);
}

void SwitchSink::set_formatter(std::unique_ptr<spdlog::formatter> formatter)
{
    const std::lock_guard lock(m_targetMutex);
    m_target->set_formatter(std::move(formatter));
}

}  // namespace Log4Qt
