#include "poshost/settings/hostsettings.h"

#include <cerrno>
#include <limits>

#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QUrl>

#include "contracts/service.h"
#include "poshost/settings/knownkeys.h"
#include "poshost/settings/values.h"
#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/input.h"
#include <log4qt/logmanager.h>

namespace poshost {

namespace {

QString key(const char* section, const char* name)
{
    return QStringLiteral("%1:%2").arg(QLatin1String(section), QLatin1String(name));
}

/// The wish of the command line, else the settings' value, else `fallback`.
QString chosen(const QString& wish, const Config& config, const QString& key, const QString& fallback = {})
{
    if (!wish.isEmpty()) {
        return wish;
    }
    const QString value = config.getString(key);
    return value.isEmpty() ? fallback : value;
}

QString named(const QString& key)
{
    const qsizetype colon = key.indexOf(u':');
    return QStringLiteral("[%1] %2").arg(key.first(colon), key.sliced(colon + 1));
}

qint64 readNumber(const Config& config, const QString& key, qint64 min, qint64 max, qint64 fallback)
{
    const QString text = config.getString(key);
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    if (text.isEmpty()) {
        return fallback;
    }
    if (!isNumber || number < min || number > max) {
        refuse(
            QStringLiteral("settings, %1 = %2: not a whole number from %3 to %4; correct it or leave it out")
                .arg(named(key), text, QString::number(min), QString::number(max)));
    }
    return number;
}

std::chrono::seconds readTimeout(const std::optional<std::chrono::seconds>& wish, const Config& config,
                                 const QString& key, std::chrono::seconds fallback)
{
    return wish.value_or(
        std::chrono::seconds(readNumber(config, key, 0, maxTimeout.count(), fallback.count())));
}

/// `text` is what the settings have at `key`, `url` what the plug-in will make of it.
void checkAddress(const QString& key, const QString& text, const QUrl& url, const QString& example)
{
    if (!isAskable(url)) {
        refuse(QStringLiteral("settings, %1: \"%2\" is no http or https address; write it as %3")
                   .arg(named(key), text, example));
    }
}

void checkCertificates(const QString& file)
{
    if (file.isEmpty()) {
        return;
    }
    const bool isReadable = QFileInfo(file).isFile() && QFileInfo(file).isReadable();
    if (!isReadable || !holdsCertificates(file)) {
        refuse(QStringLiteral("settings, [Network] caFile = %1: %2; name a PEM file or leave it out")
                   .arg(file, isReadable ? QStringLiteral("no certificates in PEM")
                                         : QStringLiteral("no readable file")));
    }
}

void checkNetwork(const Config& config)
{
    checkCertificates(config.getString(key("Network", "caFile")));
    if (const QString proxy = config.getString(key("Network", "proxy"));
        !proxy.isEmpty() && !isProxy(proxy)) {
        refuse(QStringLiteral(
                   "settings, [Network] proxy = %1: no address; write it as http://proxy.example:3128")
                   .arg(proxy));
    }
    readNumber(config, key("Network", "maxReplyBytes"), 1, std::numeric_limits<int>::max(), 1);
}

void readModules(const Config& config, HostSettings& settings)
{
    for (const QString& section : config.sections(QStringLiteral("LMCHZ*"))) {
        if (!config.getBool(section + QLatin1String(":enable"))) {
            continue;
        }
        const QString name = QStringLiteral("url");
        const QString example = knownKey(section, name)->fallback;
        const QString key = section + u':' + name;
        const QString url = config.getString(key, example);
        checkAddress(key, url, QUrl(url, QUrl::StrictMode), example);
        if (config.getString(section + QLatin1String(":token")).isEmpty()) {
            continue;
        }
        settings.hasModules = true;
        settings.maintainsModules |= config.getBool(section + QLatin1String(":maintain"));
    }
}

/// Opens the file for a moment: the log itself would make missing folders.
void checkLogFile(const QString& name)
{
    QFile file(name);
    if (!name.isEmpty() && !file.open(QIODevice::Append)) {
        refuse(
            QStringLiteral("settings, [Log] file = %1: %2; name a file that can be written or leave it out")
                .arg(name, file.errorString()));
    }
}

Log4Qt::Level levelOf(const QString& name, Log4Qt::Level fallback)
{
    Log4Qt::Level level = fallback;
    if (!name.isEmpty() && !Log4Qt::LogManager::levelFromName(name, &level)) {
        refuse(
            QStringLiteral("log level \"%1\" is not known; use trace, debug, info, warn, error, fatal or off")
                .arg(name));
    }
    return level;
}

}  // namespace

QString settingsFile(const Options& options)
{
    if (!options.configFile.isEmpty()) {
        return options.configFile;
    }
    for (const QString& folder : QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation)) {
        QString file = folder + QLatin1String("/crptservice/poshost.ini");
        if (::access(QFile::encodeName(file).constData(), F_OK) == 0) {
            return file;
        }
        if (errno == EACCES) {
            refuse(QStringLiteral("settings: %1: %2; make the folder readable or name a file with --config")
                       .arg(file, systemError(EACCES)));
        }
    }
    if (!options.stand) {
        refuse(QStringLiteral(
            "no settings found; name a file with --config, or use the test stand with --stand"));
    }
    return {};
}

void loadSettings(Config& config, const QString& file)
{
    QString error;
    if (config.load(file, &error)) {
        return;
    }
    // "<file>:<line>: <what>" in the cashier's language, which is not that of these messages.
    static const QRegularExpression place(QStringLiteral(R"(^:(\d+): )"));
    if (const auto line = place.match(error.mid(file.size())); line.hasMatch()) {
        error = QStringLiteral("%1:%2: must be a [section], a comment or, in a section, a \"key = value\" "
                               "without a colon in the key, all in UTF-8 without a byte order mark")
                    .arg(file, line.captured(1));
    }
    refuse(QStringLiteral("settings: %1; correct it or name another file with --config").arg(error));
}

HostSettings readHostSettings(const Config& config, const Options& options, const CheckOptions& check)
{
    HostSettings settings;
    settings.service = chosen(check.service, config, key("Host", "service"), QStringLiteral("crpt"));
    if (contracts::serviceNumber(settings.service) == 0) {
        refuse(QStringLiteral("service \"%1\" is not known; use crpt, turon or esm").arg(settings.service));
    }
    settings.section = chosen(check.section, config, key("Host", "section"), QStringLiteral("MarkedGoods"));
    settings.hosts = config.getList(key("Host", "hosts"));
    for (const QString& host : settings.hosts) {
        checkAddress(key("Host", "hosts"), host, addressOf(host),
                     QStringLiteral("https://markirovka.example"));
    }
    settings.keys = config.getList(key("Host", "keys"));
    settings.apiKey = chosen(check.apiKey, config, key("Host", "apiKey"), settings.keys.value(0));
    settings.pluginFile = chosen(options.pluginFile, config, key("Host", "plugin"));
    settings.requestTimeout =
        readTimeout(check.requestTimeout, config, key("Host", "requestTimeout"), settings.requestTimeout);
    settings.operationTimeout = readTimeout(check.operationTimeout, config, key("Host", "operationTimeout"),
                                            settings.operationTimeout);
    readModules(config, settings);
    checkNetwork(config);
    return settings;
}

QString readKey(const CheckOptions& check)
{
    if (!check.apiKey.isEmpty()) {
        return check.apiKey;
    }
    if (check.keyFile.isEmpty()) {
        return qEnvironmentVariable("POSHOST_KEY").trimmed();
    }
    const QByteArray content = readInput(check.keyFile, QStringLiteral("--key-file")).trimmed();
    if (content.isEmpty() || content.contains('\n')) {
        refuse(QStringLiteral("%1: must hold one line with the key and nothing else")
                   .arg(inputName(check.keyFile)));
    }
    return QString::fromUtf8(content);
}

void maskSecrets(const Config& config)
{
    QStringList secrets = config.getList(key("Host", "keys"));
    secrets << config.getString(key("Host", "apiKey"));
    for (const QString& section : config.sections(QStringLiteral("LMCHZ*"))) {
        secrets << config.getString(section + QLatin1String(":token"))
                << config.getString(section + QLatin1String(":password"));
    }
    for (const QString& secret : secrets) {
        Log4Qt::LogManager::addSecret(secret);
    }
}

void configureLog(const Config& config, const Options& options, Log4Qt::Level level, const QString& apiKey)
{
    Log4Qt::LogSettings log;
    log.level = levelOf(chosen(options.logLevel, config, key("Log", "level")), level);
    log.file = config.getString(key("Log", "file"));
    log.pattern = chosen({}, config, key("Log", "pattern"), log.pattern);
    log.secrets = config.getBool(key("Log", "secrets"));
    maskSecrets(config);
    Log4Qt::LogManager::addSecret(apiKey);
    checkLogFile(log.file);
    if (!Log4Qt::LogManager::configure(log)) {
        refuse(QStringLiteral("settings, [Log] file = %1: cannot be opened; name another").arg(log.file));
    }
}

void configureQuietLog(const Options& options)
{
    Log4Qt::LogSettings log;
    log.level = levelOf(options.logLevel, Log4Qt::Level::Off);
    (void)Log4Qt::LogManager::configure(log);
}

}  // namespace poshost
