#pragma once

#include <atomic>
#include <memory>

#include <QString>

#include <log4qt/logmanager.h>
#include <log4qt/secretmask.h>
#include <spdlog/common.h>
#include <utils/observerslot.h>

namespace spdlog {
class logger;
}

namespace Log4Qt {

class SwitchSink;

/// Where the lines of all loggers go: masked, to the sink in force and to the watcher. One for the life of
/// the process. Internal to the library. Threads: any.
class LogOutput
{
public:
    /// Never destroyed: lines may be logged until the process is gone.
    static LogOutput& instance();

    LogOutput(const LogOutput&) = delete;
    LogOutput& operator=(const LogOutput&) = delete;

    [[nodiscard]] static spdlog::level::level_enum spdlogLevel(Level level);

    /// A logger that writes to the sink in force, at every later time too.
    [[nodiscard]] std::shared_ptr<spdlog::logger> createLogger(const QString& name) const;

    /// Opens the sink that `settings` ask for and puts it in force. On failure false with a text in `error`
    /// (may be null), and nothing has changed.
    bool configure(const LogSettings& settings, QString* error);

    void addSecret(const QString& secret) { m_mask.add(secret); }
    [[nodiscard]] ObserverSlot<LogRecord>& watcher() { return m_watcher; }

    /// Masks `text` and hands it to the sink behind `logger` and to the watcher. Never throws.
    void write(spdlog::logger& logger, Level level, const QString& name, const QString& text) noexcept;

private:
    LogOutput();
    ~LogOutput() = default;

    SecretMask m_mask;
    std::atomic<bool> m_showSecrets = false;
    std::shared_ptr<SwitchSink> m_sink;
    ObserverSlot<LogRecord> m_watcher;
};

}  // namespace Log4Qt
