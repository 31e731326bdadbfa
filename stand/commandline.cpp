#include "stand/commandline.h"

#include "stand/http/hostaddress.h"
#include "stand/scenario/scenario.h"

#include <CLI/CLI.hpp>
#include <boost/asio/ip/address.hpp>
#include <iostream>

namespace marksim {
namespace {

std::string addressProblem(const std::string& text)
{
    boost::system::error_code error;
    boost::asio::ip::make_address(text, error);
    return error ? "\"" + text + "\" is not an IP address" : std::string();
}

std::string emptyProblem(const std::string& text)
{
    return text.empty() ? "must not be empty" : std::string();
}

void addCount(CLI::App& app, Options& options, const std::string& group, const std::string& help, int min)
{
    app.add_option_function<int>(
           "--" + group,
           [&options, group](int count) { options.counts[QString::fromStdString(group)] = count; }, help)
        ->check(CLI::Range(min, maxServers));
}

void addAddresses(CLI::App& app, Options& options)
{
    const CLI::Validator address(addressProblem, "ADDRESS");
    app.add_option("--bind", options.bind, "Address of the servers")->check(address)->capture_default_str();
    app.add_option("--admin-bind", options.adminBind, "Address of the admin port")
        ->check(address)
        ->capture_default_str();
    app.add_option("--admin-port", options.adminPort, "Admin port, 0 for any")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--public-address", options.publicAddress,
                   "Host name or address that is handed out in place of that of --bind")
        ->check(CLI::Validator(hostProblem, "HOST"));
    app.add_flag("--page", options.page, "Serve a page for people on the admin port");
    auto* tls =
        app.add_flag("--tls", options.tls, "Operators and sites speak TLS, with certificates made at start");
    app.add_flag("--tls-modules", options.tlsModules, "Local modules speak TLS, too")->needs(tls);
}

}  // namespace

std::variant<Options, int> parseCommandLine(int argc, char** argv)
{
    Options options;
    CLI::App app("Plays the operator, its CDN sites and local modules over HTTP, with faults on demand.\n"
                 "Prints one line of JSON with all addresses when ready, and runs until it is interrupted.",
                 "marksim");
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.set_version_flag("--version", "marksim " MARKSIM_VERSION);
    addCount(app, options, "operators", "Operator hosts (default 1)", 1);
    addCount(app, options, "sites", "CDN sites (default 3)", 0);
    addCount(app, options, "modules", "Local modules (default 1)", 0);
    addAddresses(app, options);
    app.add_option("--scenario", options.scenario, "Scenario to start with: a shipped one, or JSON")
        ->type_name("NAME|FILE");
    app.add_option("--goods", options.goods, "Data set in place of the packed one (JSON)")->type_name("FILE");
    app.add_option("--key", options.keys, "API key that is accepted; may be repeated")
        ->take_all()
        ->expected(1)
        ->check(CLI::Validator(emptyProblem, "KEY"));
    app.add_flag("--die-with-parent", options.dieWithParent, "End when the starting process ends");
    app.add_option("--log-level", options.logLevel, "Level of the log on standard error")
        ->check(CLI::IsMember({"debug", "info", "warning", "error", "off"}))
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& wish) {
        return app.exit(wish);
    } catch (const CLI::ParseError& error) {
        std::cerr << "marksim: " << error.what() << "; see marksim --help\n";
        return 2;
    }
    return options;
}

}  // namespace marksim
