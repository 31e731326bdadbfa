#include "tests/soak/till.h"

#include <stdexcept>

#include "contracts/initverifyservice.h"
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/basicplugin.h>
#include <orvex/eactivitylistener.h>

Till::Till(const MarkSim& stand, std::chrono::seconds moduleTimeout)
    : m_stand(stand)
    , m_loader(QStringLiteral(PLUGIN_PATH))
{
    for (const char* key : {"url", "user", "password", "token"}) {
        m_settings.set(QString("LMCHZ:") + key, stand.module()[key].toString());
    }
    m_settings.set("LMCHZ:timeout", QString::number(moduleTimeout.count()));
    QString error;
    if (!m_loader.load("CrptService", &error) || !m_loader.plugin()->init()) {
        throw std::runtime_error("the plug-in does not work: " + error.toStdString());
    }
}

Till::~Till()
{
    stop();
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

std::optional<CheckMarkingCodesResult> Till::verify(const QList<MarkingCode>& codes,
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
    m_loader.plugin()->deinit();
}
