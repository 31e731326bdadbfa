#include "poshost/commandline.h"

#include <algorithm>
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

std::string emptyProblem(const std::string& text)
{
    return text.empty() ? "must not be empty" : std::string();
}

/// An option with a text, which cannot be empty: to say nothing is to leave the option out.
void addText(CLI::App& app, const std::string& name, std::string& text, const char* type,
             const std::string& help)
{
    app.add_option(name, text, help)->type_name(type)->check(CLI::Validator(emptyProblem, ""));
}

void addGlobalOptions(CLI::App& app, Options& options, Raw& raw)
{
    app.set_version_flag("--version", "poshost " POSHOST_VERSION);
    addText(app, "--config", raw.config, "FILE",
            "Settings (INI); by default ~/.config/crptservice/poshost.ini or "
            "/etc/xdg/crptservice/poshost.ini");
    addText(app, "--plugin", raw.plugin, "FILE",
            "The plug-in library; by default the one installed with poshost");
    app.add_flag("--stand", options.stand,
                 "Start the test stand and use it as the operator; the default without settings");
    addText(app, "--scenario", raw.scenario, "NAME",
            "How the stand behaves (see \"scenarios\"); implies --stand");
    addText(app, "--log-level", raw.logLevel, "LEVEL", "trace, debug, info, warn, error, fatal or off");
}

/// Options of the commands that check codes.
void addCheckOptions(CLI::App& command, Options& options, Raw& raw)
{
    const CLI::Range seconds(0, int(longestTimeout.count()));
    addText(command, "--section", raw.section, "S", "Settings section that the check belongs to");
    addText(command, "--api-key", raw.apiKey, "K", "Key that the check is made with");
    addText(command, "--service", raw.service, "NAME", "Verification service: crpt, turon or esm");
    command.add_option("--request-timeout", raw.requestTimeout, "Limit of one request, seconds")
        ->type_name("SEC")
        ->check(seconds);
    command.add_option("--operation-timeout", raw.operationTimeout, "Limit of the whole check, seconds")
        ->type_name("SEC")
        ->check(seconds);
    command.add_flag("--refund", options.refund, "The goods are taken back, not sold");
}

void addVerify(CLI::App& app, Options& options, Raw& raw)
{
    CLI::App* verify = app.add_subcommand("verify", "Check marking codes as a till does");
    verify->add_flag("--json", options.json, "Print one JSON object instead of a table");
    verify->add_flag(
        "--explain", options.explain,
        "Tell how the check went: sites, answers, what was done about them, where the time went");
    addCheckOptions(*verify, options, raw);
    addText(*verify, "--codes-file", raw.codesFile, "FILE", "Codes, one a line; \"-\" is standard input");
    verify
        ->add_option("CODE", raw.codes,
                     R"(Marking codes; \x1d, \u001d, <GS> and the character itself mean GS)")
        ->type_name("");
    verify->callback([&options] { options.command = Command::Verify; });
}

void addCashier(CLI::App& app, Options& options, Raw& raw)
{
    CLI::App* cashier =
        app.add_subcommand("cashier", "Check codes one by one as a scanner types them on standard input");
    addCheckOptions(*cashier, options, raw);
    cashier->footer("Typed in place of a code, in English or Russian: refund, basket, help, quit.\n"
                    "Exit status: 0 no code stands refused and every line could be read, 1 otherwise; others "
                    "as of verify.");
    cashier->callback([&options] { options.command = Command::Cashier; });
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

    CLI::App* doctor = app.add_subcommand(
        "doctor", "Examine the settings and what they name, without changing anything; says what to do");
    doctor->add_flag("--json", options.json, "Print one JSON object instead of a report");
    doctor->add_flag("--keys", options.listKeys, "Only list the keys of the settings that are read");
    doctor->footer("Exit status: 0 all is well, 1 something is wrong, 2 the command line is wrong.");
    doctor->callback([&options] { options.command = Command::Doctor; });

    CLI::App* scenarios = app.add_subcommand("scenarios", "List the stand's scenarios");
    scenarios->callback([&options] { options.command = Command::Scenarios; });
}

using Arguments = std::vector<std::string>;

/// The arguments in the order in which CLI11 takes them. Where codes may stand it would read "[a,b]" as a
/// list and "++" as the end of a command; a NUL behind them, which no argument of a program holds, keeps them
/// whole.
Arguments protectedAndReversed(Arguments arguments)
{
    std::reverse(arguments.begin(), arguments.end());
    for (std::string& argument : arguments) {
        if (argument.starts_with('[') || argument == "++") {
            argument += '\0';
        }
    }
    return arguments;
}

/// Up to a NUL.
QString text(const std::string& bytes)
{
    return QString::fromUtf8(bytes.c_str());
}

[[noreturn]] void refuseLine(const CLI::App& app, const CLI::ParseError& error)
{
    if (const auto unknown = app.remaining(); app.get_subcommands().empty() && !unknown.empty()) {
        refuse(QStringLiteral("\"%1\" is neither a command nor an option; see \"poshost --help\"")
                   .arg(text(unknown.front())));
    }
    refuse(QStringLiteral("%1; see \"poshost --help\"").arg(text(error.what())));
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
        options.codes.append(QByteArray(code.c_str()));
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
    addCashier(app, options, raw);
    addOthers(app, options);
    const Arguments all(argv + 1, argv + argc);
    const auto end = std::find(all.begin(), all.end(), "--");
    try {
        app.parse(protectedAndReversed({all.begin(), end}));
    } catch (const CLI::CallForHelp&) {
        CLI::App* chosen = app.get_subcommands().empty() ? &app : app.get_subcommands().front();
        printOut(text(chosen->help(chosen == &app ? "" : app.get_name())));
        return std::nullopt;
    } catch (const CLI::CallForVersion& version) {
        printOut(text(version.what()) + u'\n');
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        refuseLine(app, error);
    }
    if (end != all.end()) {
        // CLI11 would take them for codes only where no code stands before the "--".
        raw.codes.insert(raw.codes.end(), end + 1, all.end());
    }
    if (options.command != Command::Verify && !raw.codes.empty()) {
        refuse(QStringLiteral("only the codes of verify can follow \"--\"; see \"poshost --help\""));
    }
    takeOver(raw, options);
    return options;
}

}  // namespace poshost
