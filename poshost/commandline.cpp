#include "poshost/commandline.h"

#include <algorithm>
#include <map>
#include <vector>

#include <CLI/CLI.hpp>

#include "poshost/language.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/output.h"

namespace poshost {

namespace {

using Arguments = std::vector<std::string>;

constexpr const char* verbOfCodes = "verify";
constexpr auto onlyCodes = QLatin1String("only the codes of verify can follow \"--\"");

constexpr const char* footer =
    "Exit status of verify: 0 every code passed with a verdict, 1 some code was refused, 2 the command\n"
    "line or the configuration is wrong, 3 the plug-in is idle, cannot run or did not take the action,\n"
    "4 standard output could not be written, 5 no code was refused but some were sold without a\n"
    "verdict, 128 plus the number of a signal that ended it.";

std::string emptyProblem(const std::string& text)
{
    return text.empty() ? "must not be empty" : std::string();
}

void addSeconds(CLI::App& app, const char* name, std::optional<std::chrono::seconds>& seconds,
                const char* help)
{
    const auto take = [&seconds](int given) { seconds = std::chrono::seconds(given); };
    app.add_option_function<int>(name, take, help)
        ->type_name("SEC")
        ->check(CLI::Range(0, int(maxTimeout.count())));
}

void addGlobalOptions(CLI::App& app, Options& options)
{
    app.set_version_flag("--version", "poshost " POSHOST_VERSION);
    addText(app, "--config", options.configFile, "FILE",
            "Settings (INI); by default ~/.config/crptservice/poshost.ini or "
            "/etc/xdg/crptservice/poshost.ini");
    addText(app, "--plugin", options.pluginFile, "FILE",
            "The plug-in library; by default the one installed with poshost");
    app.add_flag("--stand", options.stand, "Start the test stand and use it as the operator");
    addText(app, "--scenario", options.scenario, "NAME",
            "How the stand behaves (see \"scenarios\"); implies --stand");
    addText(app, "--log-level", options.logLevel, "LEVEL", "trace, debug, info, warn, error, fatal or off");
    static const std::map<std::string, Colours> colours = {
        {"always", Colours::Always}, {"auto", Colours::Auto}, {"never", Colours::Never}};
    app.add_option("--color", options.colours,
                   "always, never or auto (the default): on a terminal, unless NO_COLOR is set")
        ->type_name("WHEN")
        ->transform(CLI::Transformer(colours).description(""))
        ->check(CLI::IsMember({Colours::Always, Colours::Auto, Colours::Never}).description(""));
}

bool takesCodes(const CLI::App& verb)
{
    return verb.get_name() == verbOfCodes;
}

[[noreturn]] void refuseLine(const QString& what)
{
    refuse(QStringLiteral("%1; see \"poshost --help\"").arg(what));
}

[[noreturn]] void refuseLine(const CLI::App& app, const CLI::ParseError& error)
{
    if (const Arguments unknown = app.remaining(); app.get_subcommands().empty() && !unknown.empty()) {
        refuseLine(QStringLiteral("\"%1\" is neither a command nor an option")
                       .arg(QString::fromStdString(unknown.front())));
    }
    refuseLine(QString::fromLocal8Bit(error.what()));
}

/// Codes are no option of the parser, which would read "[a,b]" as a list. Its help tells of them all the
/// same.
void describeCodes(CLI::App& verb)
{
    static Arguments codes;
    verb.add_option("CODE", codes, R"(Marking codes; \x1d, \u001d, <GS> and the character itself mean GS)")
        ->type_name("");
}

void printHelp(CLI::App& app)
{
    CLI::App* chosen = app.get_subcommands().empty() ? &app : app.get_subcommands().front();
    if (chosen->get_name() == verbOfCodes) {
        describeCodes(*chosen);
    }
    printOut(QString::fromStdString(chosen->help(chosen == &app ? "" : app.get_name())));
}

}  // namespace

CLI::Option* addText(CLI::App& app, const char* name, QString& text, const char* type, const char* help)
{
    const auto take = [&text](const std::string& given) { text = QString::fromStdString(given); };
    return app.add_option_function<std::string>(name, take, help)
        ->type_name(type)
        ->check(CLI::Validator(emptyProblem, ""));
}

void addCheckOptions(CLI::App& verb, CheckOptions& options)
{
    addText(verb, "--section", options.section, "S", "Settings section that the check belongs to");
    CLI::Option* key = addText(verb, "--api-key", options.apiKey, "K", "Key that the check is made with");
    addText(verb, "--key-file", options.keyFile, "FILE",
            "File with that key; \"-\" is standard input. POSHOST_KEY in the environment is a third way")
        ->excludes(key);
    addText(verb, "--service", options.service, "NAME", "Verification service: crpt, turon or esm");
    addSeconds(verb, "--request-timeout", options.requestTimeout, "Limit of one request, seconds");
    addSeconds(verb, "--operation-timeout", options.operationTimeout,
               "Limit of all requests of the check, searches for sites aside, seconds");
    verb.add_flag("--refund", options.refund, "The goods are taken back, not sold");
}

CommandLine::CommandLine(CLI::App& app)
    : m_app(app)
{
    m_app.footer(footer);
    m_app.require_subcommand(1);
    m_app.fallthrough();
    m_app.allow_extras();
    addGlobalOptions(m_app, m_options);
    addText(m_app, "--lang", m_language, "LANG",
            "Language of results: en or ru; by default that of the locale")
        ->check(CLI::IsMember({"en", "ru"}).description(""));
}

CLI::App* CommandLine::addVerb(const char* name, const char* help, Work work)
{
    CLI::App* verb = m_app.add_subcommand(name, help);
    verb->callback([this, work = std::move(work)] { m_work = work; });
    return verb;
}

std::function<int()> CommandLine::parse(int argc, const char* const* argv)
{
    const Arguments all(argv + 1, argv + argc);
    const auto end = std::find(all.begin(), all.end(), "--");
    if (std::find(all.begin(), end, "++") != end) {
        refuseLine(QStringLiteral("\"++\" is no option; as a code it stands behind \"--\""));
    }
    try {
        m_app.parse(Arguments(std::make_reverse_iterator(end), all.rend()));
    } catch (const CLI::CallForHelp&) {
        printHelp(m_app);
        return {};
    } catch (const CLI::CallForVersion& version) {
        printOut(QString::fromLatin1(version.what()) + u'\n');
        return {};
    } catch (const CLI::ParseError& error) {
        const auto verbs = m_app.get_subcommands();
        if (end != all.end() && !verbs.empty() && !takesCodes(*verbs.front())) {
            refuseLine(onlyCodes);
        }
        refuseLine(m_app, error);
    }
    chooseLanguage();
    readCodes(end == all.end() ? Arguments() : Arguments(end + 1, all.end()));
    m_options.stand = m_options.stand || !m_options.scenario.isEmpty();
    return [work = m_work, options = m_options] { return work(options); };
}

/// What programs read says the same in every language.
void CommandLine::chooseLanguage() const
{
    const CLI::Option* json = m_app.get_subcommands().front()->get_option_no_throw("--json");
    if (json != nullptr && json->count() > 0) {
        setLanguage(Language::Russian);
    } else if (!m_language.isEmpty()) {
        askForLanguage(m_language == QLatin1String("en") ? Language::English : Language::Russian);
    }
}

/// What no option has taken is a code, here and behind "--".
void CommandLine::readCodes(const Arguments& behindDashes)
{
    const bool areTaken = takesCodes(*m_app.get_subcommands().front());
    for (const std::string& argument : m_app.remaining()) {
        if (!areTaken || argument.starts_with('-')) {
            refuseLine(QStringLiteral("The following argument was not expected: %1")
                           .arg(QString::fromStdString(argument)));
        }
        m_options.codes.append(QByteArray::fromStdString(argument));
    }
    if (!areTaken && !behindDashes.empty()) {
        refuseLine(onlyCodes);
    }
    for (const std::string& argument : behindDashes) {
        m_options.codes.append(QByteArray::fromStdString(argument));
    }
}

}  // namespace poshost
