#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include <QByteArray>
#include <QList>
#include <QString>

#include "poshost/terminal/terminal.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace poshost {

/// What the command line asks of every verb. Texts that were not given are empty.
struct Options
{
    QString configFile;
    QString pluginFile;
    bool stand = false;  ///< also when a scenario was named
    QString scenario;
    QString logLevel;
    Colours colours = Colours::Auto;
    QList<QByteArray> codes;  ///< as typed; only verify has any
};

/// What it asks of a check.
struct CheckOptions
{
    QString section;
    QString apiKey;   ///< of --api-key
    QString keyFile;  ///< of --key-file
    QString service;
    std::optional<std::chrono::seconds> requestTimeout;
    std::optional<std::chrono::seconds> operationTimeout;
    bool refund = false;
};

/// Limit of the time limits that can be asked for.
inline constexpr std::chrono::seconds maxTimeout{86400};

/// Does a verb's work and returns the exit status. Throws FatalError.
using Work = std::function<int(const Options&)>;

/// The command line while it is put together. Each verb adds itself, with the options that it alone has.
class CommandLine
{
public:
    explicit CommandLine(CLI::App& app);

    /// A verb that `work` is done for.
    CLI::App* addVerb(const char* name, const char* help, Work work);

    /// Reads the command line. Returns what its verb does; nothing when it asked for the help or the version,
    /// which then has been printed. Throws FatalError for a command line that is wrong.
    [[nodiscard]] std::function<int()> parse(int argc, const char* const* argv);

private:
    void chooseLanguage() const;
    void readCodes(const std::vector<std::string>& behindDashes);

    CLI::App& m_app;
    Options m_options;
    QString m_language;  ///< of --lang
    Work m_work;
};

/// An option with a text, which cannot be empty: to say nothing is to leave the option out.
CLI::Option* addText(CLI::App& app, const char* name, QString& text, const char* type, const char* help);
/// The options of a check.
void addCheckOptions(CLI::App& verb, CheckOptions& options);

}  // namespace poshost
