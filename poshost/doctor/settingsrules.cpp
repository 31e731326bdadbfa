#include "poshost/doctor/settingscheck.h"

#include <algorithm>

#include <QRegularExpression>

#include "poshost/language.h"
#include "poshost/settings/address.h"
#include "poshost/settings/knownkeys.h"

namespace poshost {

namespace {

/// Longer than any cashier waits.
constexpr int maxTimeout = 120;  // seconds

/// What the rules look at. Each rule is a function of its own below.
class Rules
{
public:
    Rules(const Config& config, Report& report)
        : m_config(config)
        , m_report(report)
        , m_findings(config, report)
        , m_hosts(config.getList(QStringLiteral("Host:hosts")))
        , m_keys(config.getList(QStringLiteral("Host:keys")))
    {
    }

    void checkHosts();
    void checkKeys();
    void checkTimeouts();
    void checkTimeout(const QString& section, const char* name);
    void checkSearches();
    void checkService();
    void checkLog();

private:
    [[nodiscard]] QString value(const QString& section, const char* key) const
    {
        return valueOf(m_config, section, key);
    }

    [[nodiscard]] int number(const QString& section, const char* key) const
    {
        const QString name = QLatin1String(key);
        return m_config.getInt(section + u':' + name, knownKey(section, name)->fallback.toInt());
    }

    void bad(Area area, const char* id, const QString& section, const char* key, const QString& text,
             const QString& advice)
    {
        m_findings.add(Level::Bad, area, id, section, QLatin1String(key), text, advice);
    }

    void note(Area area, const char* id, const QString& section, const char* key, const QString& text)
    {
        m_findings.add(Level::Note, area, id, section, QLatin1String(key), text);
    }

    const Config& m_config;
    Report& m_report;
    SettingsFindings m_findings;
    QStringList m_hosts;
    QStringList m_keys;
    const QString m_host = QStringLiteral("Host");
};

void Rules::checkHosts()
{
    bool anyAskable = false;
    for (const QString& host : std::as_const(m_hosts)) {
        const QUrl url = addressOf(host);
        anyAskable |= isAskable(url);
        if (url.host().endsWith(QLatin1String(".example"))) {
            note(Area::Hosts, "placeholder-host", m_host, "hosts",
                 said({u"%1 is an example: write the address that the operator gave",
                       u"%1 — пример: впишите адрес, который выдал оператор"})
                     .arg(url.host()));
        }
        if (isOverheard(url) && !m_keys.isEmpty()) {
            bad(Area::Hosts, "key-overheard", m_host, "hosts",
                said({u"the key will go to %1 in the open", u"ключ уйдёт на %1 открытым текстом"})
                    .arg(shown(url)),
                said({u"write an address that begins with https://",
                      u"впишите адрес, который начинается с https://"}));
        }
    }
    if (!anyAskable) {
        bad(Area::Hosts, "no-hosts", m_host, "hosts",
            said({u"no server of the operator", u"нет ни одного сервера оператора"}),
            said({u"write the address that the operator gave", u"впишите адрес, который выдал оператор"}));
    }
}

void Rules::checkKeys()
{
    // A UUID of version 4 with nothing in it.
    static const QRegularExpression placeholder(QStringLiteral("^0{8}-0{4}-[04]0{3}-[08]0{3}-0{12}$"));
    if (m_keys.isEmpty()) {
        bad(Area::Keys, "no-keys", m_host, "keys",
            said({u"no API key: every code will be sold without a check",
                  u"нет ни одного ключа API: каждый код будет продан без проверки"}),
            said({u"have a key issued in your account with the operator and write it here",
                  u"выпустите ключ в личном кабинете оператора и впишите его"}));
    }
    for (qsizetype i = 0; i < m_keys.size(); ++i) {
        if (m_keys[i].contains(placeholder)) {
            note(Area::Keys, "placeholder-key", m_host, "keys",
                 said({u"the key of zeros is an example: write the one from your account with the operator",
                       u"ключ из нулей — пример: впишите ключ из личного кабинета оператора"}));
        }
        judgeKeyText(m_findings, m_host, "keys", m_keys[i],
                     said({u" %1 of %2", u" %1 из %2"}).arg(i + 1).arg(m_keys.size()));
    }
    const QString apiKey = value(m_host, "apiKey");
    judgeKeyText(m_findings, m_host, "apiKey", apiKey);
    if (!apiKey.isEmpty() && !m_keys.isEmpty() && !m_keys.contains(apiKey)) {
        bad(Area::Keys, "api-key-unlisted", m_host, "apiKey",
            said({u"the key %1 that checks are made with is not among keys",
                  u"ключа %1, с которым идут проверки, нет среди keys"})
                .arg(masked(apiKey)),
            said({u"write it into keys or take the line out", u"впишите его в keys или уберите строку"}));
    }
}

void Rules::checkTimeouts()
{
    constexpr int ofPlugin = 2;  // in place of 0
    const auto limit = [&](const char* name) {
        return number(m_host, name) == 0 ? ofPlugin : number(m_host, name);
    };
    if (limit("requestTimeout") > limit("operationTimeout")) {
        bad(Area::Settings, "timeout-order", m_host, "requestTimeout",
            said({u"one request may take %1 s, the whole check %2 s: no time is left for another site",
                  u"один запрос может длиться %1 с, а вся проверка %2 с: на другую площадку нет времени"})
                .arg(limit("requestTimeout"))
                .arg(limit("operationTimeout")),
            said({u"make requestTimeout several times less than operationTimeout",
                  u"сделайте requestTimeout в несколько раз меньше operationTimeout"}));
    }
    checkTimeout(m_host, "requestTimeout");
    checkTimeout(m_host, "operationTimeout");
    checkTimeout(QStringLiteral("CRPT"), "getInfoTimeout");
    checkTimeout(QStringLiteral("CRPT"), "healthCheckTimeout");
    for (const ModuleState& module : std::as_const(m_report.modules)) {
        checkTimeout(module.section, "timeout");
    }
}

void Rules::checkTimeout(const QString& section, const char* name)
{
    if (const int seconds = number(section, name); seconds > maxTimeout) {
        bad(Area::Settings, "timeout-too-long", section, name,
            said({u"the till may wait for %1 s", u"касса может ждать %1 с"}).arg(seconds),
            said({u"write %1 at most", u"впишите не больше %1"}).arg(maxTimeout));
    }
}

void Rules::checkSearches()
{
    const QString section = QStringLiteral("CRPT");
    m_findings.add(
        Level::Good, Area::Settings, "search-time", section, {},
        said({u"a search for sites comes on top of the limit of a check (%1 s): up to %2 s for the list, "
              u"up to %3 s for a site, up to a minute for the whole list; who waits for another's "
              u"search waits up to a minute and may be left without a verdict",
              u"поиск площадок идёт сверх предела проверки (%1 с): до %2 с на список, "
              u"до %3 с на площадку, до минуты на весь список; кто ждёт чужого поиска, "
              u"ждёт до минуты и может остаться без вердикта"})
            .arg(number(m_host, "operationTimeout"))
            .arg(number(section, "getInfoTimeout"))
            .arg(number(section, "healthCheckTimeout")));
    if (const int pause = number(section, "updateInfoInterval"); pause > 0) {
        note(
            Area::Settings, "search-pause", section, "updateInfoInterval",
            said(
                {u"for the first %1 s after the till is switched on, and as long after a search that failed, "
                 u"checks without sites end at once, without a request, and usually permit the sale",
                 u"первые %1 с после включения кассы и столько же после неудачного поиска проверки "
                 u"без площадок кончаются сразу, без запроса, и обычно разрешают продажу"})
                .arg(pause));
    }
}

void Rules::checkService()
{
    const QString service = value(m_host, "service");
    m_report.service = service.isEmpty() ? QStringLiteral("crpt") : service;
    if (m_report.service.compare(QLatin1String("crpt"), Qt::CaseInsensitive) != 0) {
        bad(Area::Plugin, "service-not-served", m_host, "service",
            said({u"checks are asked of the service %1, the plug-in serves crpt",
                  u"проверки просят у сервиса %1, плагин обслуживает crpt"})
                .arg(m_report.service),
            said({u"write service = crpt", u"впишите service = crpt"}));
    }
    const QString section = value(m_host, "section");
    const bool isThere = m_config.sections().contains(section, Qt::CaseInsensitive);
    if (m_config.contains(QStringLiteral("Host:section")) && !section.isEmpty() && !isThere) {
        note(Area::Settings, "section-missing", m_host, "section",
             said({u"the settings have no section [%1]", u"секции [%1] в настройках нет"}).arg(section));
    }
}

void Rules::checkLog()
{
    const QString log = QStringLiteral("Log");
    static const QRegularExpression message(QStringLiteral("%[-=]?[0-9]*!?[v+]"));
    const QString pattern = value(log, "pattern").remove(QLatin1String("%%"));
    if (!pattern.isEmpty() && !pattern.contains(message)) {
        bad(Area::Settings, "log-pattern", log, "pattern",
            said({u"the lines of the log will have no messages", u"строки журнала будут без сообщений"}),
            said({u"write %v into the pattern", u"впишите в образец %v"}));
    }
    if (m_config.getBool(QStringLiteral("Log:secrets"))) {
        note(Area::Settings, "log-secrets", log, "secrets",
             said({u"keys and passwords are logged in full", u"ключи и пароли пишутся в журнал полностью"}));
    }
}

}  // namespace

QString valueOf(const Config& config, const QString& section, const char* key)
{
    const QString name = QLatin1String(key);
    return config.getString(section + u':' + name, knownKey(section, name)->fallback);
}

void judgeKeyText(SettingsFindings& findings, const QString& section, const char* name, const QString& key,
                  const QString& which)
{
    static const QRegularExpression strange(QStringLiteral("[\\s\"'`;,\\x{00}-\\x{1f}«»]"));
    if (key.contains(strange)) {
        findings.add(Level::Bad, Area::Keys, "key-characters", section, QLatin1String(name),
                     said({u"key%1 (%2) has a blank, a quotation mark or a separator",
                           u"в ключе%1 (%2) пробел, кавычка или разделитель"})
                         .arg(which, masked(key)),
                     said({u"write the key without quotation marks, several keys with commas between them",
                           u"впишите ключ без кавычек, несколько ключей через запятую"}));
    }
}

void checkRules(const Config& config, Report& report)
{
    Rules rules(config, report);
    rules.checkHosts();
    rules.checkKeys();
    rules.checkTimeouts();
    rules.checkSearches();
    rules.checkService();
    rules.checkLog();
    checkModuleRules(config, report);
}

}  // namespace poshost
