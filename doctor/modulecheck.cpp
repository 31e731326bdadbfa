#include "doctor/modulecheck.h"

#include <algorithm>
#include <array>
#include <optional>

#include <QJsonObject>

#include "doctor/address.h"
#include "doctor/exchangewatch.h"
#include "doctor/knownkeys.h"
#include "doctor/trouble.h"
#include "lmchz/lmchzclient.h"

namespace doctor {

namespace {

constexpr int Unauthorized = 401;
constexpr int Forbidden = 403;

struct StatusRow
{
    LmchzStatus status;
    Level level;
    const char* id;
    const char16_t* text;
    const char16_t* advice;
};
constexpr std::array Statuses = {
    StatusRow{LmchzStatus::Ready, Level::Good, "module-ready", u"готов", u""},
    StatusRow{LmchzStatus::Initialization, Level::Bad, "module-initialization", u"ещё готовится",
              u"подождите, пока он загрузит данные, и повторите"},
    StatusRow{LmchzStatus::NotConfigured, Level::Bad, "module-not-configured", u"не инициализирован",
              u"включите maintain, и плагин инициализирует его по событию 96, или сделайте это сами"},
    StatusRow{LmchzStatus::SyncError, Level::Bad, "module-sync-error", u"не может обновить данные",
              u"проверьте, есть ли у модуля связь с оператором и верен ли его токен"},
};

const StatusRow* rowOf(LmchzStatus status)
{
    const auto* row = std::find_if(Statuses.begin(), Statuses.end(),
                                   [status](const StatusRow& known) { return known.status == status; });
    return row != Statuses.end() ? row : nullptr;
}

class ModuleCheck
{
public:
    ModuleCheck(const Config& config, const QStringList& keys, const OnStep& onStep, Report& report)
        : m_config(config)
        , m_keys(keys)
        , m_onStep(onStep)
        , m_report(report)
    {
    }

    void check(const QString& section);

private:
    void compareSettings(const ModuleState& module, const QString& token);
    void ask(ModuleState& module, const QString& token);
    void judge(const ModuleState& module, LmchzStatus status, const http::ExchangeRecord& exchange);
    void add(Level level, const char* id, const ModuleState& module, const QString& text,
             const QString& advice = {})
    {
        m_report.add(level, Area::Modules, id, QStringLiteral("[%1] %2").arg(module.section, module.url),
                     text, advice);
    }

    const Config& m_config;
    const QStringList& m_keys;
    const OnStep& m_onStep;
    Report& m_report;
    QStringList m_tokens;
    std::optional<LmchzClient> m_client;
    ExchangeWatch m_watch;
};

void ModuleCheck::check(const QString& section)
{
    const auto key = [&](const char* name) { return section + u':' + QLatin1String(name); };
    const QString token = m_config.getString(key("token"));
    ModuleState module;
    module.section = section;
    const QString url = QStringLiteral("url");
    module.url = shown(
        QUrl(m_config.getString(section + u':' + url, QLatin1String(knownKey(section, url)->fallback))));
    module.token = token.isEmpty() ? QString() : masked(token);
    module.enabled = m_config.getBool(key("enable"));
    module.maintained = m_config.getBool(key("maintain"));
    if (m_config.contains(key("enableGreyList"))) {
        module.greyListWanted = m_config.getBool(key("enableGreyList"));
    }
    if (!module.enabled) {
        add(Level::Note, "module-disabled", module, QStringLiteral("модуль выключен (enable)"));
    } else if (token.isEmpty()) {
        add(Level::Bad, "module-without-token", module,
            QStringLiteral("нет токена, плагин пропускает эту секцию"),
            QStringLiteral("впишите в token ключ API, проверки с которым должны идти в модуль"));
    } else {
        compareSettings(module, token);
        ask(module, token);
    }
    m_report.modules.append(module);
}

void ModuleCheck::compareSettings(const ModuleState& module, const QString& token)
{
    if (m_tokens.contains(token)) {
        add(Level::Bad, "module-token-repeated", module,
            QStringLiteral("этот токен есть и у другой секции; действует последняя"),
            QStringLiteral("оставьте одну секцию на токен"));
    }
    m_tokens.append(token);
    if (!m_keys.contains(token)) {
        add(Level::Bad, "module-token-unused", module,
            QStringLiteral("токен не совпадает ни с одним ключом кассы: модуль никто не спросит"),
            QStringLiteral("впишите в token тот ключ, с которым идут проверки"));
    } else if (m_keys.constFirst() != token) {
        add(Level::Note, "module-token-other", module,
            QStringLiteral("модуль спросят только для проверок с ключом %1, обычный ключ другой")
                .arg(module.token));
    }
    if (module.greyListWanted && !module.maintained) {
        add(Level::Bad, "grey-list-not-kept", module,
            QStringLiteral("enableGreyList не действует: maintain выключен"),
            QStringLiteral("включите maintain или уберите enableGreyList"));
    }
}

void ModuleCheck::ask(ModuleState& module, const QString& token)
{
    m_onStep(QStringLiteral("Локальный модуль %1").arg(module.url));
    if (!m_client) {
        m_client.emplace();
    }
    const auto status = static_cast<LmchzStatus>(m_client->getStatus(token));
    const http::ExchangeRecord exchange = m_watch.take();
    module.httpStatus = exchange.response.status();
    module.elapsed = elapsedOf(exchange);
    module.status = exchange.response.responseObject().value(QLatin1String("status")).toString();
    if (module.httpStatus == Unauthorized || module.httpStatus == Forbidden) {
        module.credentialsAccepted = false;
    } else if (rowOf(status) != nullptr) {
        module.credentialsAccepted = true;
    }
    judge(module, status, exchange);
}

void ModuleCheck::judge(const ModuleState& module, LmchzStatus status, const http::ExchangeRecord& exchange)
{
    if (const Trouble trouble = troubleOf(exchange)) {
        add(Level::Bad, trouble.id, module, trouble.text, trouble.advice);
        return;
    }
    if (!module.credentialsAccepted.value_or(true)) {
        add(Level::Bad, "credentials-refused", module,
            QStringLiteral("имя или пароль не приняты (HTTP %1)").arg(module.httpStatus),
            QStringLiteral("впишите в user и password те, что заданы при установке модуля"));
        return;
    }
    const StatusRow* row = rowOf(status);
    if (row == nullptr) {
        add(Level::Bad, "module-status-unknown", module,
            QStringLiteral("непонятный ответ о состоянии (HTTP %1)").arg(module.httpStatus),
            QStringLiteral("проверьте адрес: тот ли это порт, и того ли модуль образца"));
        return;
    }
    const bool willBeSetUp = status == LmchzStatus::NotConfigured && module.maintained;
    add(willBeSetUp ? Level::Note : row->level, row->id, module,
        willBeSetUp ? QStringLiteral("не инициализирован; плагин сделает это по событию 96")
                    : QString::fromUtf16(row->text),
        willBeSetUp ? QString() : QString::fromUtf16(row->advice));
}

}  // namespace

void checkModules(const Config& config, const QStringList& keys, const OnStep& onStep, Report& report)
{
    ModuleCheck check(config, keys, onStep, report);
    for (const QString& section : config.sections(QStringLiteral("LMCHZ*"))) {
        check.check(section);
    }
}

}  // namespace doctor
