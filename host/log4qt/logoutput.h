#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include <QString>

#include <log4qt/logmanager.h>
#include <log4qt/secretmask.h>
#include <spdlog/common.h>

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
    void setWatcher(std::function<void(const LogRecord&)> watcher);

    /// Masks `text` and hands it to the sink behind `logger` and to the watcher. Never throws.
    void write(spdlog::logger& logger, Level level, const QString& name, const QString& text) noexcept;

private:
    LogOutput();
    ~LogOutput() = default;

    void watch(const LogRecord& record);

    SecretMask m_mask;
    std::atomic<bool> m_showSecrets = false;
    std::shared_ptr<SwitchSink> m_sink;

    std::atomic<bool> m_watched = false;
    /// Held while the watcher runs, so that removing it waits for its last call; recursive, so that a watcher
    /// may log or remove itself.
    std::recursive_mutex m_watcherMutex;
    std::shared_ptr<const std::function<void(const LogRecord&)>> m_watcher;
    bool m_watcherRuns = false;
};

}  // namespace Log4Qt
