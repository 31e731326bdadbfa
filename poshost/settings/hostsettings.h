#pragma once

#include <chrono>

#include <QString>
#include <QStringList>

#include "poshost/commandline.h"
#include <config/config.h>
#include <log4qt/logger.h>

namespace poshost {

/// What the host itself reads from the settings, with the command line's wishes put in.
struct HostSettings
{
    QString service;     ///< [Host] service, by default "crpt"
    QString section;     ///< [Host] section, by default "MarkedGoods"
    QStringList hosts;   ///< [Host] hosts: the operator's servers, as a user writes them
    QStringList keys;    ///< [Host] keys: their API keys
    QString apiKey;      ///< [Host] apiKey, by default the first of the keys
    QString pluginFile;  ///< [Host] plugin, empty for the installed one
    std::chrono::seconds requestTimeout{5};
    std::chrono::seconds operationTimeout{15};
    bool maintainsModules = false;  ///< an enabled LMCHZ* section has "maintain" set
    bool hasModules = false;        ///< some LMCHZ* section is enabled
};

/// Path of the settings file: the one named, else crptservice/poshost.ini in the first folder for settings
/// that has it (~/.config, /etc/xdg). Empty when there is none and the stand is used. Throws FatalError when
/// there is neither, and for a folder that cannot be looked into.
[[nodiscard]] QString settingsFile(const Options& options);

/// Loads the file into `config`. Throws FatalError.
void loadSettings(Config& config, const QString& file);

/// Reads and checks [Host] and [Network]. Throws FatalError for a value that makes no sense, before anything
/// has been started.
[[nodiscard]] HostSettings readHostSettings(const Config& config, const Options& options,
                                            const CheckOptions& check);

/// The key of --api-key, else that of the file or of the environment (POSHOST_KEY): other users of the
/// machine can read its command lines. Empty when there is none. Throws FatalError.
[[nodiscard]] QString readKey(const CheckOptions& check);

/// Sets the log up by [Log] and --log-level, which wins; `level` is that of a host that asks for none. Keys
/// and passwords of the settings, and the key of the checks, are masked in the log. Throws FatalError.
void configureLog(const Config& config, const Options& options, Log4Qt::Level level, const QString& apiKey);

/// Sets the log up for a command that writes no file and is silent unless --log-level asks. Throws
/// FatalError.
void configureQuietLog(const Options& options);

/// Masks keys and passwords of the settings in the log.
void maskSecrets(const Config& config);

}  // namespace poshost
