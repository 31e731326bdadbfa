#include "poshost/commandline.h"

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "poshost/failure.h"
#include "poshost/output.h"

namespace poshost {

namespace {

/// What CLI11 fills in, in its own types.
struct Raw
{
    std::string config;
    std::string plugin;
    std::string scenario;
    std::string logLevel;
    std::string section;
    std::string apiKey;
    std::string service;
    std::string codesFile;
    std::vector<std::string> codes;
    std::optional<int> requestTimeout;
    std::optional<int> operationTimeout;
};

constexpr const char* footer =
    "Exit status of verify: 0 every code passed, 1 some code did not, 2 the command line or the\n"
    "configuration is wrong, 3 the plug-in is idle or did not take the action, 4 standard output could\n"
    "not be written, 128 plus the number of a signal that ended it.";

void addGlobalOptions(CLI::App& app, Options& options, Raw& raw)
{
    app.set_version_flag("--version", "poshost " POSHOST_VERSION);
    app.add_option("--config", raw.config,
                   "Settings (INI); by default ~/.config/crptservice/poshost.ini or "
                   "/etc/xdg/crptservice/poshost.ini")
        ->type_name("FILE");
    app.add_option("--plugin", raw.plugin, "The plug-in library; by default the one installed with poshost")
        ->type_name("FILE");
    app.add_flag("--stand", options.stand,
                 "Start the test stand and use it as the operator; the default without settings");
    app.add_option("--scenario", raw.scenario, "How the stand behaves (see \"scenarios\"); implies --stand")
        ->type_name("NAME");
    app.add_option("--log-level", raw.logLevel, "trace, debug, info, warn, error, fatal or off")
        ->type_name("LEVEL");
}

void addVerify(CLI::App& app, Options& options, Raw& raw)
{
    const CLI::Range seconds(0, int(longestTimeout.count()));
    CLI::App* verify = app.add_subcommand("verify", "Check marking codes as a till does");
    verify->add_flag("--json", options.json, "Print one JSON object instead of a table");
    verify->add_option("--section", raw.section, "Settings section that the check belongs to")
        ->type_name("S");
    verify->add_option("--api-key", raw.apiKey, "Key that the check is made with")->type_name("K");
    verify->add_option("--service", raw.service, "Verification service: crpt, turon or esm")
        ->type_name("NAME");
    verify->add_option("--request-timeout", raw.requestTimeout, "Limit of one request, seconds")
        ->type_name("SEC")
        ->check(seconds);
    verify->add_option("--operation-timeout", raw.operationTimeout, "Limit of the whole check, seconds")
        ->type_name("SEC")
        ->check(seconds);
    verify->add_flag("--refund", options.refund, "The goods are taken back, not sold");
    verify->add_option("--codes-file", raw.codesFile, "Codes, one a line; \"-\" is standard input")
        ->type_name("FILE");
    verify
        ->add_option("CODE", raw.codes,
                     R"(Marking codes; \x1d, \u001d, <GS> and the character itself mean GS)")
        ->type_name("");
    verify->callback([&options] { options.command = Command::Verify; });
}

void addOthers(CLI::App& app, Options& options)
{
    CLI::App* ping = app.add_subcommand("ping", "Ask whether any of the operator's servers answers");
    ping->add_flag("--json", options.json, "Print one JSON object instead of a line");
    ping->callback([&options] { options.command = Command::Ping; });

    CLI::App* event = app.add_subcommand("event", "Send host events and show what the plug-in does");
    event->add_option("CODE", options.events, "Event numbers: 96, 172, 10, ...")
        ->type_name("")
        ->required()
        ->check(CLI::Range(0, 65535));
    event->callback([&options] { options.command = Command::Event; });

    CLI::App* scenarios = app.add_subcommand("scenarios", "List the stand's scenarios");
    scenarios->callback([&options] { options.command = Command::Scenarios; });
}

QString text(const std::string& bytes)
{
    return QString::fromStdString(bytes);
}

void takeOver(const Raw& raw, Options& options)
{
    options.configFile = text(raw.config);
    options.pluginFile = text(raw.plugin);
    options.scenario = text(raw.scenario);
    options.logLevel = text(raw.logLevel);
    options.section = text(raw.section);
    options.apiKey = text(raw.apiKey);
    options.service = text(raw.service);
    options.codesFile = text(raw.codesFile);
    for (const std::string& code : raw.codes) {
        options.codes.append(QByteArray::fromStdString(code));
    }
    if (raw.requestTimeout) {
        options.requestTimeout = std::chrono::seconds(*raw.requestTimeout);
    }
    if (raw.operationTimeout) {
        options.operationTimeout = std::chrono::seconds(*raw.operationTimeout);
    }
    options.stand = options.stand || !options.scenario.isEmpty();
}

}  // namespace

std::optional<Options> parseCommandLine(int argc, const char* const* argv)
{
    Options options;
    Raw raw;
    CLI::App app(
        "A console point-of-sale host: loads the marking plug-in as a till does and has it check codes.",
        "poshost");
    app.footer(footer);
    app.require_subcommand(1);
    app.fallthrough();
    addGlobalOptions(app, options, raw);
    addVerify(app, options, raw);
    addOthers(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        CLI::App* chosen = app.get_subcommands().empty() ? &app : app.get_subcommands().front();
        printOut(text(chosen->help(chosen == &app ? "" : app.get_name())));
        return std::nullopt;
    } catch (const CLI::CallForVersion& version) {
        printOut(text(version.what()) + u'\n');
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        if (const auto unknown = app.remaining(); app.get_subcommands().empty() && !unknown.empty()) {
            refuse(QStringLiteral("\"%1\" is neither a command nor an option; see \"poshost --help\"")
                       .arg(text(unknown.front())));
        }
        refuse(QStringLiteral("%1; see \"poshost --help\"").arg(text(error.what())));
    }
    takeOver(raw, options);
    return options;
}

}  // namespace poshost
