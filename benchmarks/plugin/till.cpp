#include "benchmarks/plugin/till.h"

#include <stdexcept>

#include "benchmarks/figure.h"
#include "contracts/initverifyservice.h"
#include "contracts/metatypes.h"
#include "contracts/verify.h"
#include <config/config.h>
#include <log4qt/logmanager.h>
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/basicplugin.h>
#include <orvex/eactivitylistener.h>

namespace bench {

namespace {

const auto key = QStringLiteral("c5a1f0de-7b42-4e8a-9d3f-000000000001");
constexpr std::chrono::seconds requestTimeout{2}, operationTimeout{60};

}  // namespace

Till::Till(const Sites& sites)
    : m_loader(PLUGIN_PATH)
{
    contracts::registerMetaTypes();
    Log4Qt::LogSettings log;
    log.level = Log4Qt::Level::Error;
    Log4Qt::LogManager::configure(log);
    Singleton<Config>::instance()->setValue("MarkedGoods:markverifycrptservice", "crpt");
    Singleton<Config>::instance()->setValue("Network:caFile", sites.caFile());
    QString error;
    if (!m_loader.load("CrptService", &error) || !m_loader.plugin()->init()) {
        throw std::runtime_error("the plug-in does not work: " + error.toStdString());
    }
    const events::marking::InitVerifyService settings{Event(EActivityListener::InitVerifyService)};
    settings.setService("crpt");
    settings.setSection("MarkedGoods");
    settings.setHosts({sites.operatorUrl()});
    settings.setKeys({key});
    Singleton<ActivityNotifier>::instance()->sendEvent(settings.event());
}

Till::~Till()
{
    m_loader.plugin()->deinit();
    m_loader.unload();
}

double Till::check(const QList<MarkingCode>& codes)
{
    const control::Action action(control::EActionType::VerifyMarking);
    const control::args::marking::Verify arguments(action, "crpt");
    arguments.setMarkingCodes(codes);
    arguments.setApiKey(key);
    arguments.setOperationTimeout(operationTimeout);
    arguments.setRequestTimeout(requestTimeout);
    const double taken = microseconds([&] { Singleton<ActionDispatcher>::instance()->perform(action); });
    const CheckMarkingCodesResult result = arguments.verifyResult();
    if (result.passedCodes.size() != codes.size() || result.errorKind() != http::ErrorKind::None) {
        throw std::runtime_error("a check did not get the verdicts that it should");
    }
    return taken;
}

}  // namespace bench
