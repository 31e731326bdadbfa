#include "tests/e2e/till.h"

#include <stdexcept>

#include "contracts/initverifyservice.h"
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/basicplugin.h>
#include <orvex/eactivitylistener.h>

using std::chrono::seconds;

Till::Till(const MarkSim& stand, const QStringList& settings)
    : m_stand(stand)
    , m_loader(QStringLiteral(PLUGIN_PATH))
{
    m_settings.set("Network:caFile", stand.ready()["caFile"].toString());
    for (const QString& setting : settings) {
        m_settings.set(setting.section('=', 0, 0), setting.section('=', 1));
    }
    QString error;
    if (!m_loader.load("CrptService", &error) || !m_loader.plugin()->init()) {
        throw std::runtime_error("the plug-in does not work: " + error.toStdString());
    }
}

Till::~Till()
{
    if (!m_stopped) {
        stop();
    }
    m_loader.unload();
}

void Till::connectOperator(const QStringList& keys, const QStringList& hosts)
{
    const events::marking::InitVerifyService settings{Event(EActivityListener::InitVerifyService)};
    settings.setService("crpt");
    settings.setSection("MarkedGoods");
    settings.setHosts(hosts);
    settings.setKeys(keys);
    Singleton<ActivityNotifier>::instance()->sendEvent(settings.event());
}

CheckMarkingCodesResult Till::verify(const QList<MarkingCode>& codes)
{
    const auto result = tryVerify(codes, seconds(20), seconds(2));
    if (!result) {
        throw std::runtime_error("the action was not taken");
    }
    return *result;
}

std::optional<CheckMarkingCodesResult> Till::tryVerify(const QList<MarkingCode>& codes,
                                                       std::chrono::seconds operationTimeout,
                                                       std::chrono::seconds requestTimeout) const
{
    const control::Action action(control::EActionType::VerifyMarking);
    const control::args::marking::Verify arguments(action, "crpt");
    arguments.setMarkingCodes(codes);
    arguments.setApiKey(m_stand.key());
    arguments.setOperationTimeout(operationTimeout);
    arguments.setRequestTimeout(requestTimeout);
    if (Singleton<ActionDispatcher>::instance()->perform(action) != QList{EContext::Done}) {
        return std::nullopt;
    }
    return arguments.verifyResult();
}

void Till::stop()
{
    m_stopped = true;
    m_loader.plugin()->deinit();
}

QStringList moduleSettings(const MarkSim& stand)
{
    QStringList settings{"LMCHZ:enable=true"};
    for (const char* key : {"url", "user", "password", "token"}) {
        settings << QString("LMCHZ:") + key + '=' + stand.module()[key].toString();
    }
    return settings;
}
