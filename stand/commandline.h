#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace marksim {

/// What the command line says.
struct Options
{
    QMap<QString, int>
        counts;  ///< by "operators", "sites", "modules"; missing: by the scenario, or the default
    std::string bind = "127.0.0.1";
    std::string adminBind = "127.0.0.1";
    std::string publicAddress;  ///< host that is handed out; empty: the one that a port is bound to
    std::uint16_t adminPort = 0;
    bool page = false;
    bool tls = false;
    bool tlsModules = false;  ///< with `tls`: modules, too
    std::string scenario;     ///< name of one that is packed, or a file
    std::string goods;
    std::vector<std::string> keys;
    bool dieWithParent = false;
    std::string logLevel = "warning";
};

/// The options, or the exit status when there is nothing more to do: help and version were asked for (0), or
/// the command line is wrong (2). What is to be said has been said then.
[[nodiscard]] std::variant<Options, int> parseCommandLine(int argc, char** argv);

}  // namespace marksim
