#include "poshost/doctor/settingscheck.h"
#include "poshost/language.h"
#include "poshost/settings/address.h"

namespace poshost {

namespace {

class ModuleRules
{
public:
    ModuleRules(const Config& config, Report& report)
        : m_config(config)
        , m_report(report)
        , m_findings(config, report)
    {
    }

    void check();

private:
    void checkModule(const ModuleState& module);
    void judgeToken(const ModuleState& module);

    void bad(const char* id, const ModuleState& module, const char* key, const QString& text,
             const QString& advice)
    {
        m_findings.add(Level::Bad, Area::Modules, id, module.section, QLatin1String(key), text, advice);
    }

    void note(const char* id, const ModuleState& module, const char* key, const QString& text)
    {
        m_findings.add(Level::Note, Area::Modules, id, module.section, QLatin1String(key), text);
    }

    const Config& m_config;
    Report& m_report;
    SettingsFindings m_findings;
    QStringList m_tokens;  ///< so far
};

void ModuleRules::check()
{
    for (const ModuleState& module : m_report.modules) {
        if (module.enabled) {
            checkModule(module);
        } else {
            note("module-disabled", module, "enable",
                 said({u"the module is switched off", u"модуль выключен"}));
        }
    }
}

void ModuleRules::checkModule(const ModuleState& module)
{
    if (module.token.isEmpty()) {
        bad("module-without-token", module, "token",
            said({u"no token, the plug-in passes this section over",
                  u"нет токена, плагин пропускает эту секцию"}),
            said({u"write into token the API key whose checks are to go to the module",
                  u"впишите в token ключ API, проверки с которым должны идти в модуль"}));
        return;
    }
    judgeToken(module);
    const QUrl url(valueOf(m_config, module.section, "url"));
    if (url.path().endsWith(u'/')) {
        bad("module-address-slash", module, "url",
            said({u"the address ends with a slash: the module will get a path with two",
                  u"косая черта в конце адреса: модуль получит путь с двумя"}),
            said({u"take it out", u"уберите её"}));
    }
    if (isOverheard(url)) {
        note("module-overheard", module, "url",
             said({u"password and key will go to %1 in the open",
                   u"пароль и ключ уйдут на %1 открытым текстом"})
                 .arg(module.url));
    }
    if (module.greyListWanted && !module.maintained) {
        bad("grey-list-not-kept", module, "enableGreyList",
            said({u"enableGreyList does nothing: maintain is off",
                  u"enableGreyList не действует: maintain выключен"}),
            said({u"switch maintain on or take enableGreyList out",
                  u"включите maintain или уберите enableGreyList"}));
    }
}

void ModuleRules::judgeToken(const ModuleState& module)
{
    const QString token = valueOf(m_config, module.section, "token");
    judgeKeyText(m_findings, module.section, "token", token);
    if (m_tokens.contains(token)) {
        bad("module-token-repeated", module, "token",
            said({u"another section has this token too; the last one counts",
                  u"этот токен есть и у другой секции; действует последняя"}),
            said({u"keep one section for a token", u"оставьте одну секцию на токен"}));
    }
    m_tokens.append(token);
    const QStringList keys = m_config.getList(QStringLiteral("Host:keys"));
    const QString apiKey = valueOf(m_config, QStringLiteral("Host"), "apiKey");
    const QString usual = apiKey.isEmpty() ? keys.value(0) : apiKey;
    if (token != usual && !keys.contains(token)) {
        bad("module-token-unused", module, "token",
            said({u"the token is none of the till's keys: nobody will ask the module",
                  u"токен не совпадает ни с одним ключом кассы: модуль никто не спросит"}),
            said({u"write into token the key that checks are made with",
                  u"впишите в token тот ключ, с которым идут проверки"}));
    } else if (token != usual) {
        note("module-token-other", module, "token",
             said({u"the module will be asked only for checks with the key %1, the usual key is another",
                   u"модуль спросят только для проверок с ключом %1, обычный ключ другой"})
                 .arg(module.token));
    }
}

}  // namespace

void checkModuleRules(const Config& config, Report& report)
{
    ModuleRules(config, report).check();
}

}  // namespace poshost
