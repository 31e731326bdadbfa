#include <log4qt/logoutput.h>

#include <QFile>

#include <log4qt/switchsink.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>

namespace Log4Qt {

namespace {

/// Throws spdlog::spdlog_ex when the file cannot be opened.
std::shared_ptr<spdlog::sinks::sink> openSink(const LogSettings& settings)
{
    std::shared_ptr<spdlog::sinks::sink> sink;
    if (settings.file.isEmpty()) {
        sink = std::make_shared<spdlog::sinks::stderr_color_sink_mt>(spdlog::color_mode::automatic);
    } else {
        sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(
            QFile::encodeName(settings.file).toStdString());
    }
    sink->set_pattern(settings.pattern.toStdString());
    return sink;
}

}  // namespace

LogOutput& LogOutput::instance()
{
    static auto* const output = new LogOutput;
    return *output;
}

LogOutput::LogOutput()
    : m_sink(std::make_shared<SwitchSink>(openSink({})))
{
    m_sink->set_level(spdlogLevel(LogSettings{}.level));
}

spdlog::level::level_enum LogOutput::spdlogLevel(Level level)
{
    switch (level) {
    case Level::Trace:
        return spdlog::level::trace;
    case Level::Debug:
        return spdlog::level::debug;
    case Level::Info:
        return spdlog::level::info;
    case Level::Warn:
        return spdlog::level::warn;
    case Level::Error:
        return spdlog::level::err;
    case Level::Fatal:
        return spdlog::level::critical;
    case Level::Off:
        break;
    }
    return spdlog::level::off;
}

std::shared_ptr<spdlog::logger> LogOutput::createLogger(const QString& name) const
{
    auto logger = std::make_shared<spdlog::logger>(name.toStdString(), m_sink);
    // A crash must not take the lines before it along.
    logger->flush_on(spdlog::level::trace);
    // A line that cannot be written is lost; there is nowhere to say so.
    logger->set_error_handler([](const std::string&) {});
    return logger;
}

bool LogOutput::configure(const LogSettings& settings, QString* error)
{
    try {
        m_sink->switchTo(openSink(settings));
        // Loggers may let more through, for the watcher alone.
        m_sink->set_level(spdlogLevel(settings.level));
        m_showSecrets = settings.secrets;
        return true;
    } catch (const spdlog::spdlog_ex& e) {
        if (error != nullptr) {
            *error = QStringLiteral("Не удалось открыть файл журнала %1 (%2)")
                         .arg(settings.file, QString::fromLocal8Bit(e.what()));
        }
        return false;
    }
}

void LogOutput::write(spdlog::logger& logger, Level level, const QString& name, const QString& text) noexcept
{
    try {
        const QString shown = m_showSecrets ? text : m_mask.masked(text);
        const QByteArray line = shown.toUtf8();
        logger.log(spdlog::source_loc{}, spdlogLevel(level),
                   spdlog::string_view_t(line.constData(), size_t(line.size())));
        if (m_watcher.isSet()) {
            // A copy of the characters: watchers keep records, and a literal may lie in a library that is
            // unloaded before them.
            m_watcher.tell({level, name, QString(shown.constData(), shown.size())});
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): logging must never be what fails
    }
}

}  // namespace Log4Qt
