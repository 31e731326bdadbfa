#include "poshost/doctor/settingscheck.h"

#include <algorithm>

#include <QRegularExpression>

#include "poshost/doctor/address.h"
#include "poshost/doctor/knownkeys.h"

namespace doctor {

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
    void checkKeyText(const QString& section, const char* name, const QString& key,
                      const QString& which = {});
    void checkTimeouts();
    void checkTimeout(const QString& section, const char* name);
    void checkSearches();
    void checkService();
    void checkLog();
    void checkModules();

private:
    void checkModule(const ModuleState& module);
    void judgeToken(const ModuleState& module);

    /// As who reads it takes it, with the default in place of a missing one.
    [[nodiscard]] QString value(const QString& section, const QString& key) const
    {
        return m_config.getString(section + u':' + key, knownKey(section, key)->fallback);
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
    QStringList m_tokens;  ///< of the modules so far
    const QString m_host = QStringLiteral("Host");
};

void Rules::checkHosts()
{
    bool anyAskable = false;
    for (const QString& host : std::as_const(m_hosts)) {
        const QUrl url = addressOf(host);
        anyAskable |= isAskable(url);
        if (isOverheard(url) && !m_keys.isEmpty()) {
            bad(Area::Hosts, "key-overheard", m_host, "hosts",
                QStringLiteral("ключ уйдёт на %1 открытым текстом").arg(shown(url)),
                QStringLiteral("впишите адрес, который начинается с https://"));
        }
    }
    if (!anyAskable) {
        bad(Area::Hosts, "no-hosts", m_host, "hosts", QStringLiteral("нет ни одного сервера оператора"),
            QStringLiteral("впишите адрес, который выдал оператор"));
    }
}

void Rules::checkKeys()
{
    if (m_keys.isEmpty()) {
        bad(Area::Keys, "no-keys", m_host, "keys",
            QStringLiteral("нет ни одного ключа API: каждый код будет продан без проверки"),
            QStringLiteral("выпустите ключ в личном кабинете оператора и впишите его"));
    }
    for (qsizetype i = 0; i < m_keys.size(); ++i) {
        checkKeyText(m_host, "keys", m_keys[i], QStringLiteral(" %1 из %2").arg(i + 1).arg(m_keys.size()));
    }
    const QString apiKey = value(m_host, QStringLiteral("apiKey"));
    checkKeyText(m_host, "apiKey", apiKey);
    if (!apiKey.isEmpty() && !m_keys.isEmpty() && !m_keys.contains(apiKey)) {
        bad(Area::Keys, "api-key-unlisted", m_host, "apiKey",
            QStringLiteral("ключа %1, с которым идут проверки, нет среди keys").arg(masked(apiKey)),
            QStringLiteral("впишите его в keys или уберите строку"));
    }
}

/// `which` tells of several keys this one.
void Rules::checkKeyText(const QString& section, const char* name, const QString& key, const QString& which)
{
    static const QRegularExpression strange(QStringLiteral("[\\s\"'`;,\\x{00}-\\x{1f}«»]"));
    if (key.contains(strange)) {
        bad(Area::Keys, "key-characters", section, name,
            QStringLiteral("в ключе%1 (%2) пробел, кавычка или разделитель").arg(which, masked(key)),
            QStringLiteral("впишите ключ без кавычек, несколько ключей через запятую"));
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
            QStringLiteral(
                "один запрос может длиться %1 с, а вся проверка %2 с: на другую площадку нет времени")
                .arg(limit("requestTimeout"))
                .arg(limit("operationTimeout")),
            QStringLiteral("сделайте requestTimeout в несколько раз меньше operationTimeout"));
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
            QStringLiteral("касса может ждать %1 с").arg(seconds),
            QStringLiteral("впишите не больше %1").arg(maxTimeout));
    }
}

void Rules::checkSearches()
{
    const QString section = QStringLiteral("CRPT");
    m_findings.add(Level::Good, Area::Settings, "search-time", section, {},
                   QStringLiteral("поиск площадок идёт сверх предела проверки (%1 с): до %2 с на список, "
                                  "до %3 с на площадку, до минуты на весь список; кто ждёт чужого поиска, "
                                  "ждёт до минуты и может остаться без вердикта")
                       .arg(number(m_host, "operationTimeout"))
                       .arg(number(section, "getInfoTimeout"))
                       .arg(number(section, "healthCheckTimeout")));
    if (const int pause = number(section, "updateInfoInterval"); pause > 0) {
        note(Area::Settings, "search-pause", section, "updateInfoInterval",
             QStringLiteral("первые %1 с после включения кассы и столько же после неудачного поиска проверки "
                            "без площадок кончаются сразу, без запроса, и обычно разрешают продажу")
                 .arg(pause));
    }
}

void Rules::checkService()
{
    const QString service = value(m_host, QStringLiteral("service"));
    m_report.service = service.isEmpty() ? QStringLiteral("crpt") : service;
    if (m_report.service.compare(QLatin1String("crpt"), Qt::CaseInsensitive) != 0) {
        bad(Area::Plugin, "service-not-served", m_host, "service",
            QStringLiteral("проверки просят у сервиса %1, плагин обслуживает crpt").arg(m_report.service),
            QStringLiteral("впишите service = crpt"));
    }
    const QString section = value(m_host, QStringLiteral("section"));
    const bool isThere = m_config.sections().contains(section, Qt::CaseInsensitive);
    if (m_config.contains(QStringLiteral("Host:section")) && !section.isEmpty() && !isThere) {
        note(Area::Settings, "section-missing", m_host, "section",
             QStringLiteral("секции [%1] в настройках нет").arg(section));
    }
}

void Rules::checkLog()
{
    const QString log = QStringLiteral("Log");
    static const QRegularExpression message(QStringLiteral("%[-=]?[0-9]*!?[v+]"));
    const QString pattern = value(log, QStringLiteral("pattern")).remove(QLatin1String("%%"));
    if (!pattern.isEmpty() && !pattern.contains(message)) {
        bad(Area::Settings, "log-pattern", log, "pattern",
            QStringLiteral("строки журнала будут без сообщений"), QStringLiteral("впишите в образец %v"));
    }
    if (m_config.getBool(QStringLiteral("Log:secrets"))) {
        note(Area::Settings, "log-secrets", log, "secrets",
             QStringLiteral("ключи и пароли пишутся в журнал полностью"));
    }
}

void Rules::checkModules()
{
    for (const ModuleState& module : m_report.modules) {
        if (module.enabled) {
            checkModule(module);
        } else {
            note(Area::Modules, "module-disabled", module.section, "enable",
                 QStringLiteral("модуль выключен"));
        }
    }
}

void Rules::checkModule(const ModuleState& module)
{
    if (module.token.isEmpty()) {
        bad(Area::Modules, "module-without-token", module.section, "token",
            QStringLiteral("нет токена, плагин пропускает эту секцию"),
            QStringLiteral("впишите в token ключ API, проверки с которым должны идти в модуль"));
        return;
    }
    judgeToken(module);
    const QUrl url(value(module.section, QStringLiteral("url")));
    if (url.path().endsWith(u'/')) {
        bad(Area::Modules, "module-address-slash", module.section, "url",
            QStringLiteral("косая черта в конце адреса: модуль получит путь с двумя"),
            QStringLiteral("уберите её"));
    }
    if (isOverheard(url)) {
        note(Area::Modules, "module-overheard", module.section, "url",
             QStringLiteral("пароль и ключ уйдут на %1 открытым текстом").arg(module.url));
    }
    if (module.greyListWanted && !module.maintained) {
        bad(Area::Modules, "grey-list-not-kept", module.section, "enableGreyList",
            QStringLiteral("enableGreyList не действует: maintain выключен"),
            QStringLiteral("включите maintain или уберите enableGreyList"));
    }
}

void Rules::judgeToken(const ModuleState& module)
{
    const QString token = value(module.section, QStringLiteral("token"));
    checkKeyText(module.section, "token", token);
    if (m_tokens.contains(token)) {
        bad(Area::Modules, "module-token-repeated", module.section, "token",
            QStringLiteral("этот токен есть и у другой секции; действует последняя"),
            QStringLiteral("оставьте одну секцию на токен"));
    }
    m_tokens.append(token);
    const QString apiKey = value(m_host, QStringLiteral("apiKey"));
    const QString usual = apiKey.isEmpty() ? m_keys.value(0) : apiKey;
    if (token != usual && !m_keys.contains(token)) {
        bad(Area::Modules, "module-token-unused", module.section, "token",
            QStringLiteral("токен не совпадает ни с одним ключом кассы: модуль никто не спросит"),
            QStringLiteral("впишите в token тот ключ, с которым идут проверки"));
    } else if (token != usual) {
        note(Area::Modules, "module-token-other", module.section, "token",
             QStringLiteral("модуль спросят только для проверок с ключом %1, обычный ключ другой")
                 .arg(module.token));
    }
}

}  // namespace

void checkRules(const Config& config, Report& report)
{
    Rules rules(config, report);
    rules.checkHosts();
    rules.checkKeys();
    rules.checkTimeouts();
    rules.checkSearches();
    rules.checkService();
    rules.checkLog();
    rules.checkModules();
}

}  // namespace doctor
