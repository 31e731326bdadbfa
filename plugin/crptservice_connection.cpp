#include "plugin/crptservice.h"

#include <QMetaObject>
#include <QVariant>

#include "crpt/crptclient.h"
#include "plugin/pingtaskresult.h"
#include <log4qt/logmanager.h>
#include <network/restclient.h>
#include <orvex/args.h>

EContext::Result CrptService::beforeCheckConnection(const control::Action& action) const
{
    const QString name = control::args::Plugin(action).pluginName().toLower();
    if (name != QLatin1String("crpt") && name != QString::fromLatin1(metaObject()->className()).toLower()) {
        return EContext::Done;
    }
    const auto task = QSharedPointer<CustomTask>::create([this] { return pingCrptServers(); });
    action.insert(QStringLiteral("pingTask"), QVariant::fromValue<QSharedPointer<BasicTask>>(task));
    return EContext::Extended;
}

QSharedPointer<TaskResult> CrptService::pingCrptServers() const
{
    constexpr int pingTimeout = 10;  // seconds
    PingTaskResult result;
    const QList<QUrl> hosts = crptClient->getHosts(CdnMethod::HealthCheck);
    const auto* pingLogger =
        Log4Qt::LogManager::logger(QStringLiteral("taskmanager"), QStringLiteral("crptping"));
    pingLogger->info(QStringLiteral("Проверка актуального состояния серверов ЦРПТ"));

    const auto client = MockFactory<RestClient>::create();
    client->setTimeout(pingTimeout);
    client->setLogger(pingLogger);
    for (const QUrl& host : hosts) {
        client->get(host, QJsonDocument(), {});
        if (client->lastError() == 0) {
            result.available = true;
            break;
        }
    }
    return QSharedPointer<PingTaskResult>::create(result);
}
