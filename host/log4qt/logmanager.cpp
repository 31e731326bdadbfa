#include <log4qt/logmanager.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <QFile>
#include <QHash>

#include <log4qt/linequeue.h>
#include <log4qt/secretmask.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <utils/observerslot.h>
#include <utils/printable.h>

namespace Log4Qt {

namespace {

/// Throws spdlog::spdlog_ex when the file cannot be opened. A sink without a lock: LineQueue has one thread
/// at a time write to it, and the child of a fork() could find the lock taken for ever.
LineQueue::Sink openSink(const LogSettings& settings)
{
    LineQueue::Sink sink;
    if (settings.file.isEmpty()) {
        sink = std::make_shared<spdlog::sinks::stderr_color_sink_st>(spdlog::color_mode::automatic);
    } else {
        sink = std::make_shared<spdlog::sinks::basic_file_sink_st>(
            QFile::encodeName(settings.file).toStdString());
    }
    sink->set_pattern(settings.pattern.toStdString());
    return sink;
}

spdlog::level::level_enum spdlogLevel(Level level)
{
    static_assert(int(Level::Trace) == spdlog::level::trace && int(Level::Warn) == spdlog::level::warn &&
                  int(Level::Fatal) == spdlog::level::critical && int(Level::Off) == spdlog::level::off);
    return static_cast<spdlog::level::level_enum>(level);
}

/// Where the lines of all loggers go.
struct Output
{
    SecretMask mask;
    std::atomic<bool> showsSecrets = false;
    std::atomic<Level> writtenFrom = LogSettings{}.level;
    std::atomic<Level> watchedFrom = Level::Off;
    LineQueue queue{openSink({})};
    std::mutex settingsMutex;
    LogSettings settings;  // in force
    ObserverSlot<LogRecord> watcher;
};

/// Never destroyed: lines may be logged until the process is gone.
Output& output()
{
    static auto* const instance = new Output;
    return *instance;
}

}  // namespace

Logger* LogManager::logger(const QString& name)
{
    // Never destroyed, so that the pointers stay valid to the very end of the process.
    static auto* const mutex = new std::mutex;
    static auto* const loggers = new std::map<QString, Logger>;
    const std::lock_guard lock(*mutex);
    const auto known = loggers->find(name);
    if (known != loggers->end()) {
        return &known->second;
    }
    // A copy of the characters: a name that is a literal lies in a plug-in library that may be unloaded.
    const QString owned(name.constData(), name.size());
    return &loggers->try_emplace(owned, owned).first->second;
}

Logger* LogManager::logger(const QString& name, const QString& second)
{
    return logger(second.isEmpty() ? name : name + u'.' + second);
}

bool LogManager::configure(const LogSettings& settings, QString* error)
{
    try {
        const std::lock_guard lock(output().settingsMutex);
        output().queue.setSink(openSink(settings));
        output().settings = settings;
        output().writtenFrom = settings.level;
        output().showsSecrets = settings.secrets;
        return true;
    } catch (const spdlog::spdlog_ex& e) {
        if (error != nullptr) {
            *error = QStringLiteral("Не удалось открыть файл журнала %1 (%2)")
                         .arg(settings.file, QString::fromLocal8Bit(e.what()));
        }
        return false;
    }
}

bool LogManager::reopen(QString* error)
{
    std::unique_lock lock(output().settingsMutex);
    const LogSettings settings = output().settings;
    lock.unlock();
    return settings.file.isEmpty() || configure(settings, error);
}

bool LogManager::flush(std::chrono::milliseconds limit)
{
    return output().queue.flush(limit);
}

void LogManager::addSecret(const QString& secret)
{
    output().mask.add(secret);
}

void LogManager::setWatcher(std::function<void(const LogRecord&)> watcher, Level from)
{
    output().watchedFrom = watcher ? from : Level::Off;
    output().watcher.set(std::move(watcher));
}

bool LogManager::isEnabledFor(Level level)
{
    return level != Level::Off && level >= std::min(output().writtenFrom.load(), output().watchedFrom.load());
}

void LogManager::write(Level level, const QString& name, const QString& text) noexcept
{
    try {
        Output& out = output();
        const QString line = utils::printable(out.showsSecrets ? text : out.mask.masked(text));
        if (level >= out.writtenFrom) {
            const std::string logger = name.toStdString();
            const std::string payload = line.toStdString();
            out.queue.add({logger, spdlogLevel(level), payload});
        }
        if (out.watcher.isSet()) {
            out.watcher.tell({level, name, line});
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): logging must never be what fails
    }
}

bool LogManager::levelFromName(const QString& name, Level* level)
{
    static const QHash<QString, Level> levels = {
        {QStringLiteral("trace"), Level::Trace}, {QStringLiteral("debug"), Level::Debug},
        {QStringLiteral("info"), Level::Info},   {QStringLiteral("warn"), Level::Warn},
        {QStringLiteral("error"), Level::Error}, {QStringLiteral("warning"), Level::Warn},
        {QStringLiteral("fatal"), Level::Fatal}, {QStringLiteral("off"), Level::Off}};
    const auto known = levels.constFind(name.toCaseFolded());
    if (known != levels.cend()) {
        *level = *known;
    }
    return known != levels.cend();
}

}  // namespace Log4Qt
