#include <log4qt/logmanager.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include <log4qt/logoutput.h>
#include <spdlog/logger.h>

namespace Log4Qt {

namespace {

/// The loggers by name. Never destroyed, so that their pointers stay valid to the very end of the process.
struct Loggers
{
    std::mutex mutex;
    spdlog::level::level_enum written = LogOutput::spdlogLevel(LogSettings{}.level);
    spdlog::level::level_enum watched = spdlog::level::off;
    struct Entry
    {
        std::shared_ptr<spdlog::logger> sink;
        std::unique_ptr<Logger> logger;
    };
    std::map<QString, Entry> byName;

    [[nodiscard]] spdlog::level::level_enum level() const { return std::min(written, watched); }
    void applyLevel()
    {
        for (auto& [name, entry] : byName) {
            entry.sink->set_level(level());
        }
    }
};

Loggers& loggers()
{
    static auto* const all = new Loggers;
    return *all;
}

}  // namespace

Logger* LogManager::logger(const QString& name)
{
    Loggers& all = loggers();
    const std::lock_guard lock(all.mutex);
    const auto known = all.byName.find(name);
    if (known != all.byName.end()) {
        return known->second.logger.get();
    }
    // A copy of the characters: a name that is a literal lies in a plug-in library that may be unloaded.
    const QString owned(name.constData(), name.size());
    Loggers::Entry& entry = all.byName[owned];
    entry.sink = LogOutput::instance().createLogger(owned);
    entry.sink->set_level(all.level());
    entry.logger = std::make_unique<Logger>(owned, entry.sink);
    return entry.logger.get();
}

Logger* LogManager::logger(const QString& name, const QString& second)
{
    return logger(second.isEmpty() ? name : name + u'.' + second);
}

bool LogManager::configure(const LogSettings& settings, QString* error)
{
    Loggers& all = loggers();
    const std::lock_guard lock(all.mutex);
    if (!LogOutput::instance().configure(settings, error)) {
        return false;
    }
    all.written = LogOutput::spdlogLevel(settings.level);
    all.applyLevel();
    return true;
}

void LogManager::addSecret(const QString& secret)
{
    LogOutput::instance().addSecret(secret);
}

void LogManager::setWatcher(std::function<void(const LogRecord&)> watcher, Level from)
{
    {
        Loggers& all = loggers();
        const std::lock_guard lock(all.mutex);
        all.watched = LogOutput::spdlogLevel(watcher ? from : Level::Off);
        all.applyLevel();
    }
    LogOutput::instance().watcher().set(std::move(watcher));
}

bool LogManager::levelFromName(const QString& name, Level* level)
{
    static constexpr std::array<std::pair<QStringView, Level>, 8> names = {{
        {u"trace", Level::Trace},
        {u"debug", Level::Debug},
        {u"info", Level::Info},
        {u"warn", Level::Warn},
        {u"warning", Level::Warn},
        {u"error", Level::Error},
        {u"fatal", Level::Fatal},
        {u"off", Level::Off},
    }};
    const auto known = std::find_if(names.begin(), names.end(), [&](const auto& entry) {
        return entry.first.compare(name, Qt::CaseInsensitive) == 0;
    });
    if (known == names.end()) {
        return false;
    }
    *level = known->second;
    return true;
}

}  // namespace Log4Qt
