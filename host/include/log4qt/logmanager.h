#pragma once

#include <chrono>
#include <functional>

#include <QString>

#include <log4qt/logger.h>
#include <utils/export.h>

namespace Log4Qt {

/// Where and how log lines are written. All fields have sensible defaults, so that a host without a logging
/// configuration logs to standard error, in colour on a terminal.
struct LogSettings
{
    /// Lines below this level are dropped.
    Level level = Level::Info;
    /// Path of a log file that is appended to, its folder made when missing; empty writes to standard error.
    QString file;
    /// Line pattern in spdlog's notation.
    QString pattern = QStringLiteral("%Y-%m-%d %H:%M:%S.%e %^%-5l%$ [%t] [%n] %v");
    /// Write API keys, Authorization headers and passwords in full.
    bool secrets = false;
};

/// One line as it is written (masked and printable), for hosts and tests that watch the log.
struct LogRecord
{
    Level level = Level::Info;
    QString logger;
    QString text;
};

/// The process's loggers and where they write to. Threads: any.
class ORVEX_EXPORT LogManager
{
public:
    /// The logger of that name; created on first use, never null, valid for the life of the process.
    [[nodiscard]] static Logger* logger(const QString& name);
    /// The host's two-name form: the second name, when not empty, names a part of the first ("first.second").
    [[nodiscard]] static Logger* logger(const QString& name, const QString& second);

    /// Applies `settings` to all loggers, present and future. False with a text in `error` (may be null) when
    /// the log file cannot be opened; the earlier settings then stay. Lines logged before still go where they
    /// went.
    static bool configure(const LogSettings& settings, QString* error = nullptr);

    /// Opens the log file anew, after it was renamed (rotated): a host calls it when it is told to, as a rule
    /// by SIGHUP; not in the signal's handler. False with a text in `error` (may be null) when that fails:
    /// lines then go on into the old file. Nothing happens without a file.
    static bool reopen(QString* error = nullptr);

    /// Waits until all lines logged so far are written: before the log is read, or before a program ends by
    /// _exit(). False when that takes longer than `limit`.
    static bool flush(std::chrono::milliseconds limit);

    /// Makes `secret` unreadable in every line written from now on: all but its last four characters become
    /// asterisks (all of them when it has eight or fewer). Texts shorter than four characters are ignored,
    /// they would blot out unrelated text. Secrets are never forgotten.
    ///
    /// Masked without being registered: what follows "X-API-KEY" and "Authorization" up to the end of the
    /// text, but for a closing " (owner)" after an API key, and, wholly, user and password of an address.
    static void addSecret(const QString& secret);

    /// Calls `watcher` for every line that passes the level, in the thread that logs it, and for lines from
    /// `from` on that are not written because they do not pass it. One watcher at a time; an empty function
    /// removes it. After the call returns, an earlier watcher is neither running nor called any more (unless
    /// it made the call itself).
    ///
    /// Calls of the watcher do not overlap, so it must not wait for another thread that logs. It may log; it
    /// is not called for its own lines. What it throws is dropped.
    static void setWatcher(std::function<void(const LogRecord&)> watcher, Level from = Level::Off);

    /// The level named by `name` ("trace", "debug", "info", "warn" or "warning", "error", "fatal", "off", in
    /// any letter case) in `level`; false for any other name, `level` then stays.
    [[nodiscard]] static bool levelFromName(const QString& name, Level* level);

private:
    friend class Logger;
    [[nodiscard]] static bool isEnabledFor(Level level);
    static void write(Level level, const QString& logger, const QString& text) noexcept;
};

}  // namespace Log4Qt
