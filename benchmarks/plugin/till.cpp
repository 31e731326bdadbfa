#include "benchmarks/plugin/till.h"

#include <chrono>
#include <stdexcept>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "contracts/initverifyservice.h"
#include "contracts/metatypes.h"
#include "contracts/verify.h"
#include <config/config.h>
#include <log4qt/logmanager.h>
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/basicplugin.h>
#include <orvex/eactivitylistener.h>
#include <orvex/task.h>

namespace bench {

namespace {

const auto Key = QStringLiteral("c5a1f0de-7b42-4e8a-9d3f-000000000001");
constexpr std::chrono::seconds RequestTimeout{2}, OperationTimeout{60};

}  // namespace

Till::Till(const QString& operatorUrl)
    : m_loader(PLUGIN_PATH)
{
    contracts::registerMetaTypes();
    Log4Qt::LogSettings log;
    log.level = Log4Qt::Level::Error;
    Log4Qt::LogManager::configure(log);
    Singleton<Config>::instance()->setValue("MarkedGoods:markverifycrptservice", "crpt");
    QString error;
    if (!m_loader.load("CrptService", &error) || !m_loader.plugin()->init()) {
        throw std::runtime_error("the plug-in does not work: " + error.toStdString());
    }
    const events::marking::InitVerifyService settings{Event(EActivityListener::InitVerifyService)};
    settings.setService("crpt");
    settings.setSection("MarkedGoods");
    settings.setHosts({operatorUrl});
    settings.setKeys({Key});
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
    arguments.setApiKey(Key);
    arguments.setOperationTimeout(OperationTimeout);
    arguments.setRequestTimeout(RequestTimeout);
    const auto begin = std::chrono::steady_clock::now();
    Singleton<ActionDispatcher>::instance()->perform(action);
    const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - begin;
    const CheckMarkingCodesResult result = arguments.verifyResult();
    if (result.passedCodes.size() != codes.size() || result.errorKind() != http::ErrorKind::None) {
        throw std::runtime_error("a check did not get the verdicts that it should");
    }
    return taken.count();
}

void Till::ping()
{
    const control::Action action(control::EActionType::CheckConnection);
    control::args::Plugin(action).setPluginName("crpt");
    Singleton<ActionDispatcher>::instance()->perform(action);
    action.value("pingTask").value<QSharedPointer<BasicTask>>()->run();
}

void Till::updateSites()
{
    Singleton<ActivityNotifier>::instance()->sendEvent(Event(EActivityListener::OnlineServicesRefresh));
}

QByteArray Till::bodyOf(const QList<MarkingCode>& codes)
{
    QJsonArray texts;
    for (const MarkingCode& code : codes) {
        texts.append(code.toString());
    }
    return QJsonDocument(QJsonObject{{"codes", texts}}).toJson(QJsonDocument::Compact);
}

}  // namespace bench
