#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace marksim {

/// What the command line says. Counts that it leaves open come from the scenario, else from the defaults.
struct Options
{
    std::optional<int> operators;
    std::optional<int> sites;
    std::optional<int> modules;
    std::string bind = "127.0.0.1";
    std::string adminBind = "127.0.0.1";
    std::uint16_t adminPort = 0;
    bool page = false;
    bool tls = false;
    bool tlsModules = false;  ///< with `tls`: modules, too
    std::string scenario;
    std::string goods;
    std::vector<std::string> keys;
    bool dieWithParent = false;
    std::string logLevel = "warning";
};

/// The options, or the exit status when there is nothing more to do: help and version were asked for (0), or
/// the command line is wrong (2). What is to be said has been said then.
[[nodiscard]] std::variant<Options, int> parseCommandLine(int argc, char** argv);

}  // namespace marksim
