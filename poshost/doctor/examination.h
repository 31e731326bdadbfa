#pragma once

#include <config/config.h>

#include "poshost/doctor/report.h"

namespace poshost {

/// Settings under examination, and what is found out about them.
struct Examined
{
    const Config& config;
    Report& report;

    /// Adds a finding, with the line that it is about. `key` may be empty for a finding about the section.
    void add(Level level, Area area, const char* id, const QString& section, const QString& key,
             const QString& text, const QString& advice = {}) const;
    void bad(Area area, const char* id, const QString& section, const char* key, const QString& text,
             const QString& advice) const;
    void note(Area area, const char* id, const QString& section, const char* key, const QString& text) const;

    /// A key of a known section as who reads it takes it, with the default in place of a missing one.
    [[nodiscard]] QString value(const QString& section, const char* key) const;
    [[nodiscard]] int number(const QString& section, const char* key) const;
};

/// Reads the file into `config`. False when it is not there or cannot be understood: then that is a finding.
[[nodiscard]] bool readSettings(const QString& file, Config& config, Report& report);

/// Looks at the settings, and at Report::settingsFile: who can read and write it, what stands in it twice.
/// Nothing is asked over the network, nothing is changed.
void checkSettings(const Examined& examined);

// The parts of that, in this order.

/// Looks whether every section and key is one that is read, and every value one that makes sense. Adds
/// Report::markingSections, too.
void checkNamesAndValues(const Examined& examined);
/// Adds every module of the settings to Report::modules, asked for nothing.
void describeModules(const Examined& examined);
/// Looks whether the settings make sense together, and what they mean at the till.
void checkRules(const Examined& examined);
/// The same for Report::modules.
void checkModuleRules(const Examined& examined);

/// Adds a finding for an API key that holds what no such key does. `which` tells of several keys this one.
void judgeKeyText(const Examined& examined, const QString& section, const char* name, const QString& key,
                  const QString& which = {});

/// Asks every server of [Host] hosts for its list of sites with every key, and probes the sites, in the
/// plug-in's order. Adds Report::hosts, Report::sites and the findings. Addresses that cannot be asked are
/// passed over.
void checkOperator(const Examined& examined);

/// Asks every module of the report that the plug-in would use for its status, and for nothing else. Fills in
/// what it says and adds the findings.
void askModules(const Examined& examined);

}  // namespace poshost
