#include "plugin/crptservice.h"

#include <algorithm>
#include <utility>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QUrl>

#include "contracts/initverifyservice.h"
#include "crpt/crptclient.h"
#include "lmchz/lmchzclient.h"
#include "plugin/messages.h"
#include <config/config.h>
#include <log4qt/logmanager.h>
#include <orvex/activitynotifier.h>
#include <orvex/eactivitylistener.h>

namespace {

Log4Qt::Logger* serviceLogger()
{
    return Log4Qt::LogManager::logger(QStringLiteral("crptservice"), QString());
}

}  // namespace

CrptService::CrptService()
    : CrptService(utils::ForMock())
{
    crptClient = QSharedPointer<CrptClient>::create();
    crptClient->moveToThread(thread);
}

CrptService::CrptService(utils::ForMock /*tag*/)
    : thread(new QThread(this))
    , logger(serviceLogger())
{
}

CrptService::~CrptService()
{
    BasicPlugin::deinit();  // nobody calls this object any more
    if (crptClient) {
        // A list update under way is waited for, those that are queued behind it are not.
        QCoreApplication::removePostedEvents(crptClient.data(), QEvent::MetaCall);
    }
    thread->quit();
    if (!thread->wait(QDeadlineTimer(remindAfter))) {
        logger->warn(plugin::messages::threadAwaited);
        thread->wait();
    }
    delete thread;
}

bool CrptService::init()
{
    if (!isServiceUsed()) {
        logger->warn(plugin::messages::serviceUnused);
        return false;
    }
    const bool isFirst = !std::exchange(isRegistered, true);
    if (isFirst) {
        addTriggers();
        startThread();
    }
    createLocalModuleClient();
    if (isFirst) {
        listen();
    }
    return true;
}

bool CrptService::isServiceUsed() const
{
    const auto* config = Singleton<Config>::instance();
    const QString thisService = QStringLiteral("crpt");
    for (const QString& pattern : {QStringLiteral("MarkedGoods*"), QStringLiteral("DraftBeer*"),
                                   QStringLiteral("Motp*"), QStringLiteral("Moot*")}) {
        const QStringList sections = config->sections(pattern);
        for (const QString& section : sections) {
            if (config->getString(section + QStringLiteral(":markverifycrptservice"), thisService) ==
                thisService) {
                return true;
            }
        }
    }
    return false;
}

void CrptService::addTriggers()
{
    addTrigger(ActionTrigger(
        EContext::Any, control::EActionType::VerifyMarking, ActionTrigger::During,
        [this](const control::Action& action) { return checkMarkingCodes(action); }, ActionTrigger::Whatever,
        ActionTrigger::Normal));
    addTrigger(ActionTrigger(
        EContext::Any, control::EActionType::CheckConnection, ActionTrigger::During,
        [this](const control::Action& action) { return beforeCheckConnection(action); },
        ActionTrigger::Whatever, ActionTrigger::Normal));
}

void CrptService::startThread()
{
    if (crptClient) {
        connect(thread, &QThread::started, crptClient.data(), &CrptClient::onStart,
                Qt::ConnectionType(Qt::AutoConnection | Qt::UniqueConnection));
    }
    connections << connect(
        thread, &QThread::finished, thread, [] { serviceLogger()->info(plugin::messages::threadEnds); },
        Qt::DirectConnection);
    connections << connect(
        thread, &QThread::destroyed, thread, [] { serviceLogger()->info(plugin::messages::threadGone); },
        Qt::DirectConnection);
    thread->start(QThread::InheritPriority);
}

void CrptService::createLocalModuleClient()
{
    const auto* config = Singleton<Config>::instance();
    const QStringList sections = config->sections(QStringLiteral("LMCHZ*"));
    const bool enabled = std::any_of(sections.begin(), sections.end(), [config](const QString& section) {
        return config->getBool(section + QStringLiteral(":enable"), false);
    });
    if (enabled) {
        // Swapped in before the old one goes: its destruction may wait for an exchange.
        auto client = QSharedPointer<LmchzClient>::create();
        const std::lock_guard lock(lmchzMutex);
        lmchzClient.swap(client);
    }
}

QSharedPointer<LmchzClient> CrptService::localModule() const
{
    const std::lock_guard lock(lmchzMutex);
    return lmchzClient;
}

void CrptService::listen()
{
    auto* notifier = Singleton<ActivityNotifier>::instance();
    notifier->addListener(this, {EActivityListener::InitVerifyService});
    keep(notifier->addTriggerAfter(EActivityListener::OnlineServicesRefresh,
                                   [this](const Event&) { queueUpdate(); }));
}

void CrptService::queueUpdate()
{
    if (!crptClient || isUpdateQueued.exchange(true)) {
        return;
    }
    QMetaObject::invokeMethod(crptClient.data(), [this, client = crptClient.data()] {
        isUpdateQueued = false;
        client->updateInfo();
    });
}

void CrptService::deinit()
{
    for (const QMetaObject::Connection& connection : std::exchange(connections, {})) {
        disconnect(connection);
    }
    isRegistered = false;
    BasicPlugin::deinit();
}

void CrptService::handleEvent(const Event& event)
{
    if (event.getCode() != EActivityListener::InitVerifyService) {
        return;
    }
    const events::marking::InitVerifyService settings(event);
    if (settings.service() != events::marking::InitVerifyService::Crpt || !crptClient) {
        return;
    }
    const QString section = settings.section();
    const QList<QString> hosts = settings.hosts();
    for (const QString& host : hosts) {
        crptClient->addHost(QUrl::fromUserInput(host), section);
    }
    const QList<QString> keys = settings.keys();
    for (const QString& key : keys) {
        crptClient->addKey(key, section);
    }
}
