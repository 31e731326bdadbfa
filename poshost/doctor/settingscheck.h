#pragma once

#include <config/config.h>

#include "poshost/doctor/report.h"

namespace poshost {

/// Adds findings about the settings, each with the line that it is about.
class SettingsFindings
{
public:
    SettingsFindings(const Config& config, Report& report);

    /// `key` may be empty for a finding about the section.
    void add(Level level, Area area, const char* id, const QString& section, const QString& key,
             const QString& text, const QString& advice = {});

private:
    const Config& m_config;
    Report& m_report;
};

/// Looks whether every section and key is one that is read, and every value one that makes sense. Adds the
/// findings and Report::markingSections. Nothing is asked over the network, nothing is changed.
void checkNamesAndValues(const Config& config, Report& report);

/// Looks whether the settings make sense together, and what they mean at the till. Report::markingSections
/// and Report::modules have to be there.
void checkRules(const Config& config, Report& report);

/// The part of that for Report::modules.
void checkModuleRules(const Config& config, Report& report);

/// A key of a known section as who reads it takes it, with the default in place of a missing one.
[[nodiscard]] QString valueOf(const Config& config, const QString& section, const char* key);

/// Adds a finding for an API key that holds what no such key does. `which` tells of several keys this one.
void judgeKeyText(SettingsFindings& findings, const QString& section, const char* name, const QString& key,
                  const QString& which = {});

/// Reads the file into `config`. False when it is not there or cannot be understood: then that is a finding.
[[nodiscard]] bool readSettings(const QString& file, Config& config, Report& report);

/// All of the above, and a look at Report::settingsFile: who can read and write it, what stands in it twice.
void checkSettings(const Config& config, Report& report);

}  // namespace poshost
