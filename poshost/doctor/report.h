#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

#include <QDateTime>
#include <QList>
#include <QString>

namespace poshost {

enum class Level {
    Good,
    Note,  ///< worth knowing, nothing is wrong
    Bad,
};

/// What a finding is about, in the order in which a report tells of it.
enum class Area { Settings, Plugin, Hosts, Keys, Sites, Modules };

struct Finding
{
    Level level = Level::Good;
    Area area = Area::Settings;
    QString id;       ///< the kind of finding, for programs: "unknown-key"
    QString subject;  ///< "[CRPT] getInfoTimout", an address, ...
    QString text;
    QString advice;  ///< what to do about it; empty when nothing is to be done
    int line = 0;    ///< of the settings file; 0 when it is about no line
};

/// A settings section that may put the plug-in to work, and the service that it names.
struct MarkingSection
{
    QString section;
    QString service;
};

struct KeyState
{
    QString key;                   ///< masked
    std::optional<bool> accepted;  ///< unset: nobody has said
    int httpStatus = 0;
    std::chrono::milliseconds elapsed{0};
};

struct HostState
{
    QString url;
    QString peer;  ///< address and port; empty when no connection was made
    bool resolved = false;
    bool connected = false;
    std::optional<bool> secured;                    ///< unset: plain HTTP, or it did not get there
    QDateTime certificateEnd;                       ///< invalid when it is not known
    std::optional<std::chrono::seconds> clockSkew;  ///< the server's clock minus this one
    QList<KeyState> keys;                           ///< in the order in which the plug-in tries them
};

struct SiteState
{
    QString site;
    QString host;  ///< the operator's server that lists it
    bool healthy = false;
    bool chosen = false;  ///< a check would go here first
    int httpStatus = 0;
    std::chrono::milliseconds elapsed{0};
};

struct ModuleState
{
    QString section;
    QString url;
    QString token;  ///< masked; empty for none
    bool enabled = false;
    bool maintained = false;
    std::optional<bool> greyListWanted;  ///< unset: left as it is
    QString status;                      ///< as the module says; empty when it was not asked or said nothing
    std::optional<bool> credentialsAccepted;
    int httpStatus = 0;
    std::chrono::milliseconds elapsed{0};
};

/// What an examination found.
struct Report
{
    bool offline = false;             ///< the settings alone, perhaps of another machine
    bool strict = false;              ///< notes count
    bool stand = false;               ///< a test stand was asked
    QString settingsFile;             ///< empty when there is none
    bool isFileMissing = false;       ///< or it cannot be read
    QString service;                  ///< [Host] service
    QString pluginVersion;            ///< empty when the library was not found or does not tell
    std::optional<bool> pluginWorks;  ///< false: it is idle; unset: it was not asked
    QList<MarkingSection> markingSections;
    QList<HostState> hosts;
    QList<SiteState> sites;
    QList<ModuleState> modules;
    QList<Finding> findings;
    std::chrono::milliseconds elapsed{0};

    void add(Level level, Area area, const char* id, const QString& subject, const QString& text,
             const QString& advice = {}, int line = 0)
    {
        findings.append({level, area, QLatin1String(id), subject, text, advice, line});
    }

    [[nodiscard]] qsizetype count(Level level) const
    {
        return std::count_if(findings.begin(), findings.end(),
                             [level](const Finding& finding) { return finding.level == level; });
    }

    /// Whether nothing that counts is wrong.
    [[nodiscard]] bool isGood() const { return count(Level::Bad) + (strict ? count(Level::Note) : 0) == 0; }
};

/// The report for a person: finding by finding, then the sites as a table, then the sum.
[[nodiscard]] QString toText(const Report& report, bool colours);

/// What counts or is worth knowing, a line "<file>:<line>: <message>" for each; line 1 for what stands
/// nowhere.
[[nodiscard]] QString toLines(const Report& report);

/// The report as one JSON object on one line, with its line feed.
[[nodiscard]] QString toJson(const Report& report);

}  // namespace poshost
