#include "poshost/doctor/examination.h"

#include <algorithm>

#include <QRegularExpression>

#include "poshost/language.h"
#include "poshost/settings/values.h"

namespace poshost {

namespace {

/// Longer than any cashier waits.
constexpr int maxTimeout = 120;  // seconds

constexpr auto hostSection = QLatin1String("Host");
constexpr auto crptSection = QLatin1String("CRPT");

void checkHosts(const Examined& examined)
{
    const bool hasKeys = !examined.config.getList(QStringLiteral("Host:keys")).isEmpty();
    bool anyAskable = false;
    for (const QString& host : examined.config.getList(QStringLiteral("Host:hosts"))) {
        const QUrl url = addressOf(host);
        anyAskable |= isAskable(url);
        if (url.host().endsWith(QLatin1String(".example"))) {
            examined.note(Area::Hosts, "placeholder-host", hostSection, "hosts",
                          said({u"%1 is an example: write the address that the operator gave",
                                u"%1 — пример: впишите адрес, который выдал оператор"})
                              .arg(url.host()));
        }
        if (isOverheard(url) && hasKeys) {
            examined.bad(Area::Hosts, "key-overheard", hostSection, "hosts",
                         said({u"the key will go to %1 in the open", u"ключ уйдёт на %1 открытым текстом"})
                             .arg(shown(url)),
                         said({u"write an address that begins with https://",
                               u"впишите адрес, который начинается с https://"}));
        }
    }
    if (!anyAskable) {
        examined.bad(
            Area::Hosts, "no-hosts", hostSection, "hosts",
            said({u"no server of the operator", u"нет ни одного сервера оператора"}),
            said({u"write the address that the operator gave", u"впишите адрес, который выдал оператор"}));
    }
}

void checkKeys(const Examined& examined)
{
    // A UUID of version 4 with nothing in it.
    static const QRegularExpression placeholder(QStringLiteral("^0{8}-0{4}-[04]0{3}-[08]0{3}-0{12}$"));
    const QStringList keys = examined.config.getList(QStringLiteral("Host:keys"));
    if (keys.isEmpty()) {
        examined.bad(Area::Keys, "no-keys", hostSection, "keys",
                     said({u"no API key: every code will be sold without a check",
                           u"нет ни одного ключа API: каждый код будет продан без проверки"}),
                     said({u"have a key issued in your account with the operator and write it here",
                           u"выпустите ключ в личном кабинете оператора и впишите его"}));
    }
    for (qsizetype i = 0; i < keys.size(); ++i) {
        if (keys[i].contains(placeholder)) {
            examined.note(
                Area::Keys, "placeholder-key", hostSection, "keys",
                said({u"the key of zeros is an example: write the one from your account with the operator",
                      u"ключ из нулей — пример: впишите ключ из личного кабинета оператора"}));
        }
        judgeKeyText(examined, hostSection, "keys", keys[i],
                     said({u" %1 of %2", u" %1 из %2"}).arg(i + 1).arg(keys.size()));
    }
    const QString apiKey = examined.value(hostSection, "apiKey");
    judgeKeyText(examined, hostSection, "apiKey", apiKey);
    if (!apiKey.isEmpty() && !keys.isEmpty() && !keys.contains(apiKey)) {
        examined.bad(
            Area::Keys, "api-key-unlisted", hostSection, "apiKey",
            said({u"the key %1 that checks are made with is not among keys",
                  u"ключа %1, с которым идут проверки, нет среди keys"})
                .arg(masked(apiKey)),
            said({u"write it into keys or take the line out", u"впишите его в keys или уберите строку"}));
    }
}

void checkTimeout(const Examined& examined, const QString& section, const char* name)
{
    if (const int seconds = examined.number(section, name); seconds > maxTimeout) {
        examined.bad(Area::Settings, "timeout-too-long", section, name,
                     said({u"the till may wait for %1 s", u"касса может ждать %1 с"}).arg(seconds),
                     said({u"write %1 at most", u"впишите не больше %1"}).arg(maxTimeout));
    }
}

void checkTimeouts(const Examined& examined)
{
    constexpr int ofPlugin = 2;  // in place of 0
    const auto limit = [&](const char* name) {
        return examined.number(hostSection, name) == 0 ? ofPlugin : examined.number(hostSection, name);
    };
    if (limit("requestTimeout") > limit("operationTimeout")) {
        examined.bad(
            Area::Settings, "timeout-order", hostSection, "requestTimeout",
            said({u"one request may take %1 s, the whole check %2 s: no time is left for another site",
                  u"один запрос может длиться %1 с, а вся проверка %2 с: на другую площадку нет времени"})
                .arg(limit("requestTimeout"))
                .arg(limit("operationTimeout")),
            said({u"make requestTimeout several times less than operationTimeout",
                  u"сделайте requestTimeout в несколько раз меньше operationTimeout"}));
    }
    checkTimeout(examined, hostSection, "requestTimeout");
    checkTimeout(examined, hostSection, "operationTimeout");
    checkTimeout(examined, crptSection, "getInfoTimeout");
    checkTimeout(examined, crptSection, "healthCheckTimeout");
    for (const ModuleState& module : std::as_const(examined.report.modules)) {
        checkTimeout(examined, module.section, "timeout");
    }
}

void checkSearches(const Examined& examined)
{
    examined.add(
        Level::Good, Area::Settings, "search-time", crptSection, {},
        said({u"a search for sites comes on top of the limit of a check (%1 s): up to %2 s for the list, "
              u"up to %3 s for a site, up to a minute for the whole list; who waits for another's "
              u"search waits up to a minute and may be left without a verdict",
              u"поиск площадок идёт сверх предела проверки (%1 с): до %2 с на список, "
              u"до %3 с на площадку, до минуты на весь список; кто ждёт чужого поиска, "
              u"ждёт до минуты и может остаться без вердикта"})
            .arg(examined.number(hostSection, "operationTimeout"))
            .arg(examined.number(crptSection, "getInfoTimeout"))
            .arg(examined.number(crptSection, "healthCheckTimeout")));
    if (const int pause = examined.number(crptSection, "updateInfoInterval"); pause > 0) {
        examined.note(
            Area::Settings, "search-pause", crptSection, "updateInfoInterval",
            said(
                {u"for the first %1 s after the till is switched on, and as long after a search that failed, "
                 u"checks without sites end at once, without a request, and usually permit the sale",
                 u"первые %1 с после включения кассы и столько же после неудачного поиска проверки "
                 u"без площадок кончаются сразу, без запроса, и обычно разрешают продажу"})
                .arg(pause));
    }
}

void checkService(const Examined& examined)
{
    const QString service = examined.value(hostSection, "service");
    examined.report.service = service.isEmpty() ? QStringLiteral("crpt") : service;
    if (examined.report.service.compare(QLatin1String("crpt"), Qt::CaseInsensitive) != 0) {
        examined.bad(Area::Plugin, "service-not-served", hostSection, "service",
                     said({u"checks are asked of the service %1, the plug-in serves crpt",
                           u"проверки просят у сервиса %1, плагин обслуживает crpt"})
                         .arg(examined.report.service),
                     said({u"write service = crpt", u"впишите service = crpt"}));
    }
    const QString section = examined.value(hostSection, "section");
    const bool isThere = examined.config.sections().contains(section, Qt::CaseInsensitive);
    if (examined.config.contains(QStringLiteral("Host:section")) && !section.isEmpty() && !isThere) {
        examined.note(
            Area::Settings, "section-missing", hostSection, "section",
            said({u"the settings have no section [%1]", u"секции [%1] в настройках нет"}).arg(section));
    }
}

void checkLog(const Examined& examined)
{
    const QString log = QStringLiteral("Log");
    static const QRegularExpression message(QStringLiteral("%[-=]?[0-9]*!?[v+]"));
    const QString pattern = examined.value(log, "pattern").remove(QLatin1String("%%"));
    if (!pattern.isEmpty() && !pattern.contains(message)) {
        examined.bad(
            Area::Settings, "log-pattern", log, "pattern",
            said({u"the lines of the log will have no messages", u"строки журнала будут без сообщений"}),
            said({u"write %v into the pattern", u"впишите в образец %v"}));
    }
    if (examined.config.getBool(QStringLiteral("Log:secrets"))) {
        examined.note(
            Area::Settings, "log-secrets", log, "secrets",
            said({u"keys and passwords are logged in full", u"ключи и пароли пишутся в журнал полностью"}));
    }
}

}  // namespace

void judgeKeyText(const Examined& examined, const QString& section, const char* name, const QString& key,
                  const QString& which)
{
    static const QRegularExpression strange(QStringLiteral("[\\s\"'`;,\\x{00}-\\x{1f}«»]"));
    if (key.contains(strange)) {
        examined.bad(Area::Keys, "key-characters", section, name,
                     said({u"key%1 (%2) has a blank, a quotation mark or a separator",
                           u"в ключе%1 (%2) пробел, кавычка или разделитель"})
                         .arg(which, masked(key)),
                     said({u"write the key without quotation marks, several keys with commas between them",
                           u"впишите ключ без кавычек, несколько ключей через запятую"}));
    }
}

void checkRules(const Examined& examined)
{
    checkHosts(examined);
    checkKeys(examined);
    checkTimeouts(examined);
    checkSearches(examined);
    checkService(examined);
    checkLog(examined);
}

}  // namespace poshost
