#include "poshost/doctor/examination.h"

#include <algorithm>
#include <array>

#include <QJsonObject>

#include "poshost/doctor/asking.h"
#include "poshost/language.h"
#include "poshost/settings/values.h"

namespace poshost {

namespace {

struct StatusRow
{
    const char* status;
    Level level;
    const char* id;
    Text text;
    Text advice;
};
constexpr std::array statuses = {
    StatusRow{"ready", Level::Good, "module-ready", {u"ready", u"готов"}, {}},
    StatusRow{"initialization",
              Level::Bad,
              "module-initialization",
              {u"still getting ready", u"ещё готовится"},
              {u"wait until it has loaded its data and try again",
               u"подождите, пока он загрузит данные, и повторите"}},
    StatusRow{"not_configured",
              Level::Bad,
              "module-not-configured",
              {u"not initialised", u"не инициализирован"},
              {u"switch maintain on and the plug-in initialises it at event 96, or do it yourself",
               u"включите maintain, и плагин инициализирует его по событию 96, или сделайте это сами"}},
    StatusRow{"sync_error",
              Level::Bad,
              "module-sync-error",
              {u"it cannot update its data", u"не может обновить данные"},
              {u"see whether the module reaches the operator and whether its token is right",
               u"проверьте, есть ли у модуля связь с оператором и верен ли его токен"}},
};
/// In place of the row above where the plug-in maintains the module.
constexpr StatusRow willBeSetUp = {"not_configured",
                                   Level::Note,
                                   "module-not-configured",
                                   {u"not initialised; the plug-in will do so at event 96",
                                    u"не инициализирован; плагин сделает это по событию 96"},
                                   {}};

const StatusRow* rowOf(const ModuleState& module)
{
    const auto* row = std::find_if(statuses.begin(), statuses.end(), [&](const StatusRow& known) {
        return module.status == QLatin1String(known.status);
    });
    if (row == statuses.end()) {
        return nullptr;
    }
    const bool isSetUp = module.maintained && QLatin1String(row->status) == QLatin1String(willBeSetUp.status);
    return isSetUp ? &willBeSetUp : row;
}

http::ExchangeRecord askForStatus(const Examined& examined, const ModuleState& module)
{
    const QString credentials =
        examined.value(module.section, "user") + u':' + examined.value(module.section, "password");
    return ask(said({u"Local module %1", u"Локальный модуль %1"}).arg(module.url),
               methodUrl(QUrl(examined.value(module.section, "url")), QStringLiteral("/api/v2/status")),
               {{QStringLiteral("Content-Type"), QStringLiteral("application/json")},
                {QStringLiteral("Authorization"),
                 QStringLiteral("Basic ") + QString::fromLatin1(credentials.toLocal8Bit().toBase64())}},
               std::chrono::seconds(examined.number(module.section, "timeout")));
}

/// What the reply says of user and password; unset when it says nothing.
std::optional<bool> acceptance(const ModuleState& module)
{
    constexpr int unauthorized = 401;
    constexpr int forbidden = 403;
    if (module.httpStatus == unauthorized || module.httpStatus == forbidden) {
        return false;
    }
    return rowOf(module) != nullptr ? std::optional(true) : std::nullopt;
}

void judge(const ModuleState& module, const http::ExchangeRecord& exchange, Report& report)
{
    const auto add = [&](Level level, const char* id, const QString& text, const QString& advice) {
        report.add(level, Area::Modules, id, QStringLiteral("[%1] %2").arg(module.section, module.url), text,
                   advice);
    };
    if (const Trouble trouble = troubleOf(exchange)) {
        add(Level::Bad, trouble.id, trouble.text, trouble.advice);
    } else if (!module.credentialsAccepted.value_or(true)) {
        add(Level::Bad, "credentials-refused",
            said({u"user name or password refused (HTTP %1)", u"имя или пароль не приняты (HTTP %1)"})
                .arg(module.httpStatus),
            said({u"write those into user and password that were set when the module was installed",
                  u"впишите в user и password те, что заданы при установке модуля"}));
    } else if (const StatusRow* row = rowOf(module)) {
        add(row->level, row->id, said(row->text), said(row->advice));
    } else {
        add(Level::Bad, "module-status-unknown",
            said({u"the reply about its state makes no sense (HTTP %1)",
                  u"непонятный ответ о состоянии (HTTP %1)"})
                .arg(module.httpStatus),
            said({u"look at the address: is it the right port, and a module of the right kind?",
                  u"проверьте адрес: тот ли это порт, и того ли модуль образца"}));
    }
}

/// `earlier` has the tokens of the sections so far.
void judgeToken(const Examined& examined, const ModuleState& module, QStringList& earlier)
{
    const QString token = examined.value(module.section, "token");
    judgeKeyText(examined, module.section, "token", token);
    if (earlier.contains(token)) {
        examined.bad(Area::Modules, "module-token-repeated", module.section, "token",
                     said({u"another section has this token too; the last one counts",
                           u"этот токен есть и у другой секции; действует последняя"}),
                     said({u"keep one section for a token", u"оставьте одну секцию на токен"}));
    }
    earlier.append(token);
    const QStringList keys = examined.config.getList(QStringLiteral("Host:keys"));
    const QString apiKey = examined.value(QStringLiteral("Host"), "apiKey");
    const QString usual = apiKey.isEmpty() ? keys.value(0) : apiKey;
    if (token != usual && !keys.contains(token)) {
        examined.bad(Area::Modules, "module-token-unused", module.section, "token",
                     said({u"the token is none of the till's keys: nobody will ask the module",
                           u"токен не совпадает ни с одним ключом кассы: модуль никто не спросит"}),
                     said({u"write into token the key that checks are made with",
                           u"впишите в token тот ключ, с которым идут проверки"}));
    } else if (token != usual) {
        examined.note(
            Area::Modules, "module-token-other", module.section, "token",
            said({u"the module will be asked only for checks with the key %1, the usual key is another",
                  u"модуль спросят только для проверок с ключом %1, обычный ключ другой"})
                .arg(module.token));
    }
}

void judgeUse(const Examined& examined, const ModuleState& module)
{
    const QUrl url(examined.value(module.section, "url"));
    if (url.path().endsWith(u'/')) {
        examined.bad(Area::Modules, "module-address-slash", module.section, "url",
                     said({u"the address ends with a slash: the module will get a path with two",
                           u"косая черта в конце адреса: модуль получит путь с двумя"}),
                     said({u"take it out", u"уберите её"}));
    }
    if (isOverheard(url)) {
        examined.note(Area::Modules, "module-overheard", module.section, "url",
                      said({u"password and key will go to %1 in the open",
                            u"пароль и ключ уйдут на %1 открытым текстом"})
                          .arg(module.url));
    }
    if (module.greyListWanted && !module.maintained) {
        examined.bad(Area::Modules, "grey-list-not-kept", module.section, "enableGreyList",
                     said({u"enableGreyList does nothing: maintain is off",
                           u"enableGreyList не действует: maintain выключен"}),
                     said({u"switch maintain on or take enableGreyList out",
                           u"включите maintain или уберите enableGreyList"}));
    }
}

}  // namespace

void describeModules(const Examined& examined)
{
    const Config& config = examined.config;
    for (const QString& section : config.sections(QStringLiteral("LMCHZ*"))) {
        ModuleState module;
        module.section = section;
        module.url = shown(QUrl(examined.value(module.section, "url")));
        const QString token = examined.value(module.section, "token");
        module.token = token.isEmpty() ? QString() : masked(token);
        module.enabled = config.getBool(section + QLatin1String(":enable"));
        module.maintained = config.getBool(section + QLatin1String(":maintain"));
        if (const QString key = section + QLatin1String(":enableGreyList"); config.contains(key)) {
            module.greyListWanted = config.getBool(key);
        }
        examined.report.modules.append(module);
    }
}

void checkModuleRules(const Examined& examined)
{
    QStringList tokens;
    for (const ModuleState& module : std::as_const(examined.report.modules)) {
        if (!module.enabled) {
            examined.note(Area::Modules, "module-disabled", module.section, "enable",
                          said({u"the module is switched off", u"модуль выключен"}));
        } else if (module.token.isEmpty()) {
            examined.bad(Area::Modules, "module-without-token", module.section, "token",
                         said({u"no token, the plug-in passes this section over",
                               u"нет токена, плагин пропускает эту секцию"}),
                         said({u"write into token the API key whose checks are to go to the module",
                               u"впишите в token ключ API, проверки с которым должны идти в модуль"}));
        } else {
            judgeToken(examined, module, tokens);
            judgeUse(examined, module);
        }
    }
}

void askModules(const Examined& examined)
{
    for (ModuleState& module : examined.report.modules) {
        if (!module.enabled || module.token.isEmpty()) {
            continue;
        }
        const http::ExchangeRecord exchange = askForStatus(examined, module);
        module.httpStatus = exchange.response.status();
        module.elapsed = elapsedOf(exchange);
        module.status = exchange.response.responseObject().value(QLatin1String("status")).toString();
        module.credentialsAccepted = acceptance(module);
        judge(module, exchange, examined.report);
    }
}

}  // namespace poshost
