#pragma once

#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <QJsonObject>

/// The steps of a sale that talk to somebody: the operator's list and a site's health, the check at the site,
/// and, when there is no site, the local module's status and its check.
enum class Place { List, Health, Check, Status, OutCheck };
constexpr int Places = 5;

/// Something that goes wrong at one step, and what must come of the sale.
struct Fault
{
    std::string name;
    /// What the HTTP client makes of it: "error <number>", "time-out" or the status of a complete reply.
    std::string seen;
    /// By place, what the sale of one good code comes to:
    ///  P: passes by the operator's reply      F: fails, since the reply does not mention it
    ///  S: sale permitted without a check      U: fails, since no site can be reached
    ///  O: passes by the module's reply        N: the module's reply leaves it without a verdict
    ///  -: the fault does not concern the place
    std::string outcomes;
    /// How the stand's server behaves in place of a reply with this body; each is tried in a sale of its own.
    std::function<std::vector<QJsonObject>(const QByteArray& body)> behaviours;
    QString scheme = QStringLiteral("http");
    QString host = QStringLiteral("127.0.0.1");
    /// For the exchange at that place; zero for what suits what is seen.
    std::chrono::milliseconds limit{};
};

struct Faults
{
    const char* name;
    std::vector<Fault> rows;

    friend void PrintTo(const Faults& faults, std::ostream* out) { *out << faults.name; }
};

/// The table.
std::vector<Faults> allFaults();
