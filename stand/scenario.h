#pragma once

#include "behaviour.h"
#include "goods.h"
#include "moduleapi.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace marksim {

/// What a scenario says of one server, or of a group of them (behaviours only).
struct ServerSetup
{
    std::uint16_t port = 0;
    std::string prefix;
    std::optional<std::vector<std::string>> keys;  ///< instead of the stand's
    std::optional<QStringList> lists;  ///< what an operator lists: names of sites, or texts as they are
    std::vector<Behaviour> behaviours;
    std::optional<QString> user;
    std::optional<QString> password;
    std::optional<QString> token;
    std::optional<ModuleState> state;
    std::optional<std::chrono::milliseconds> readyAfter;
    std::vector<Good> goods;
};

/// A scenario file: how many servers of each kind there are and how they behave from the start on.
struct Scenario
{
    std::optional<int> operators;
    std::optional<int> sites;
    std::optional<int> modules;
    std::optional<bool> tls;
    std::vector<std::string> keys;
    std::vector<Good> goods;  ///< added to the data set, or in place of what it says of a code
    std::map<std::string, ServerSetup> servers;  ///< by name ("site-1") or group ("sites")

    /// Throws InputError.
    [[nodiscard]] static Scenario fromFile(const std::string& path);
    [[nodiscard]] static Scenario fromJson(const QJsonValue& value, const QString& where);
};

inline constexpr int mostServers = 100;
inline constexpr qint64 longestInitialisationMs = 3'600'000;

}  // namespace marksim
