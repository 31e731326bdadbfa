#pragma once

#include <type_traits>

#include <QString>

#include <utils/export.h>

namespace Log4Qt {

enum class Level { Trace, Debug, Info, Warn, Error, Fatal, Off };

/// A named logger. Obtained from LogManager::logger(), which owns it for the life of the process: pointers
/// stay valid, also in a plug-in that is unloaded and loaded again.
///
/// Every level has one operation that takes a message and the values for its placeholders %1, %2, ... All
/// placeholders are filled in one step, so a "%2" inside a value is left alone. Below the active level no
/// text is built.
///
/// In what is written API keys, Authorization headers and users and passwords of addresses are masked, see
/// LogManager, and nothing can begin a line or steer a terminal, see utils::printable().
///
/// Threads: any. Nothing here throws or waits for the line to be written: a thread writes the lines in order.
/// Lines that cannot be written (a full disk) or that come while 4 MiB of them wait (a pipe that nobody
/// reads) are lost; the latter are counted in a line of their own. A program that ends normally writes
/// what waits, for at most two seconds; a crash may take the lines of the last moment along.
class ORVEX_EXPORT Logger
{
public:
    /// For LogManager.
    explicit Logger(QString name);
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;
    ~Logger() = default;

    /// The name, for example "crptclient"; for the two-name form both, for example "taskmanager.crptping".
    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] bool isEnabledFor(Level level) const;

    template <class... Values>
    void trace(const QString& message, const Values&... values) const
    {
        logFilled(Level::Trace, message, values...);
    }
    template <class... Values>
    void debug(const QString& message, const Values&... values) const
    {
        logFilled(Level::Debug, message, values...);
    }
    template <class... Values>
    void info(const QString& message, const Values&... values) const
    {
        logFilled(Level::Info, message, values...);
    }
    template <class... Values>
    void warn(const QString& message, const Values&... values) const
    {
        logFilled(Level::Warn, message, values...);
    }
    template <class... Values>
    void error(const QString& message, const Values&... values) const
    {
        logFilled(Level::Error, message, values...);
    }
    template <class... Values>
    void fatal(const QString& message, const Values&... values) const
    {
        logFilled(Level::Fatal, message, values...);
    }

    /// Writes `text` without filling placeholders when `level` is active.
    void log(Level level, const QString& text) const;

private:
    template <class... Values>
    void logFilled(Level level, const QString& message, const Values&... values) const
    {
        if (!isEnabledFor(level)) {
            return;
        }
        if constexpr (sizeof...(values) == 0) {
            log(level, message);
        } else {
            log(level, message.arg(toText(values)...));
        }
    }

    static QString toText(const QString& text) { return text; }
    template <class Number>
    requires std::is_arithmetic_v<Number>
    static QString toText(Number number) { return QString::number(number); }

    QString m_name;
};

}  // namespace Log4Qt
