#pragma once

#include <memory>
#include <mutex>

#include <spdlog/sinks/sink.h>

namespace Log4Qt {

/// A sink that passes lines on to another one, which can be exchanged while loggers are at work. Internal to
/// the library. Threads: any.
class SwitchSink : public spdlog::sinks::sink
{
public:
    /// `target` must not be null, here and in switchTo().
    explicit SwitchSink(std::shared_ptr<spdlog::sinks::sink> target);

    void switchTo(std::shared_ptr<spdlog::sinks::sink> target);

    void log(const spdlog::details::log_msg& message) override;
    void flush() override;
    void set_pattern(const std::string& pattern) override;
    void set_formatter(std::unique_ptr<spdlog::formatter> formatter) override;

private:
    std::mutex m_targetMutex;
    std::shared_ptr<spdlog::sinks::sink> m_target;
};

}  // namespace Log4Qt
