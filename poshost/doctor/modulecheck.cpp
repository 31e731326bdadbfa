#include "poshost/doctor/modulecheck.h"

#include <algorithm>
#include <array>

#include <QJsonObject>

#include "poshost/doctor/settingscheck.h"
#include "poshost/language.h"
#include "poshost/settings/address.h"
#include "poshost/settings/knownkeys.h"

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

http::ExchangeRecord askForStatus(const Config& config, const ModuleState& module)
{
    const QString credentials =
        valueOf(config, module.section, "user") + u':' + valueOf(config, module.section, "password");
    const int fallback = knownKey(module.section, QStringLiteral("timeout"))->fallback.toInt();
    return ask(methodUrl(QUrl(valueOf(config, module.section, "url")), QStringLiteral("/api/v2/status")),
               {{QStringLiteral("Content-Type"), QStringLiteral("application/json")},
                {QStringLiteral("Authorization"),
                 QStringLiteral("Basic ") + QString::fromLatin1(credentials.toLocal8Bit().toBase64())}},
               std::chrono::seconds(config.getInt(module.section + QLatin1String(":timeout"), fallback)));
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

}  // namespace

void describeModules(const Config& config, Report& report)
{
    for (const QString& section : config.sections(QStringLiteral("LMCHZ*"))) {
        ModuleState module;
        module.section = section;
        module.url = shown(QUrl(valueOf(config, module.section, "url")));
        const QString token = valueOf(config, module.section, "token");
        module.token = token.isEmpty() ? QString() : masked(token);
        module.enabled = config.getBool(section + QLatin1String(":enable"));
        module.maintained = config.getBool(section + QLatin1String(":maintain"));
        if (const QString key = section + QLatin1String(":enableGreyList"); config.contains(key)) {
            module.greyListWanted = config.getBool(key);
        }
        report.modules.append(module);
    }
}

void askModules(const Config& config, const OnStep& onStep, Report& report)
{
    for (ModuleState& module : report.modules) {
        if (!module.enabled || module.token.isEmpty()) {
            continue;
        }
        onStep(said({u"Local module %1", u"Локальный модуль %1"}).arg(module.url));
        const http::ExchangeRecord exchange = askForStatus(config, module);
        module.httpStatus = exchange.response.status();
        module.elapsed = elapsedOf(exchange);
        module.status = exchange.response.responseObject().value(QLatin1String("status")).toString();
        module.credentialsAccepted = acceptance(module);
        judge(module, exchange, report);
    }
}

}  // namespace poshost
