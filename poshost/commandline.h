#pragma once

#include <chrono>
#include <optional>

#include <QByteArray>
#include <QList>
#include <QString>

namespace poshost {

enum class Command { Verify, Cashier, Ping, Event, Scenarios, Doctor };

/// What the command line asks for. Texts that were not given are empty.
struct Options
{
    Command command = Command::Verify;
    QString configFile;
    QString pluginFile;
    bool stand = false;
    QString scenario;
    QString logLevel;

    bool json = false;
    bool explain = false;
    bool refund = false;
    bool listKeys = false;  ///< of doctor: the keys alone
    QString section;
    QString apiKey;
    QString service;
    std::optional<std::chrono::seconds> requestTimeout;
    std::optional<std::chrono::seconds> operationTimeout;
    QString codesFile;
    QList<QByteArray> codes;  ///< as typed

    QList<int> events;
};

/// Longest time limit that can be asked for.
inline constexpr std::chrono::seconds longestTimeout{86400};

/// The options of a command line. Nothing when it asked for the help or the version, which then has been
/// printed. Throws Failure for a command line that is wrong.
[[nodiscard]] std::optional<Options> parseCommandLine(int argc, const char* const* argv);

}  // namespace poshost
