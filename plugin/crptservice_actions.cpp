#include "plugin/crptservice.h"

#include <chrono>

#include <QMetaObject>
#include <QVariant>

#include "contracts/verify.h"
#include "crpt/crptclient.h"
#include <log4qt/logmanager.h>
#include <network/restclient.h>
#include <orvex/args.h>
#include <orvex/dialog.h>
#include <utils/tr.h>

#include "plugin/pingtaskresult.h"

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

/// Milliseconds, or the largest value where a limit in seconds is too large for them.
milliseconds toMilliseconds(seconds limit)
{
    constexpr auto longest = std::chrono::floor<seconds>(milliseconds::max());
    return limit > longest ? milliseconds::max() : milliseconds(limit);
}

}  // namespace

EContext::Result CrptService::checkMarkingCodes(const control::Action& action)
{
    const control::args::marking::Verify arguments(action, QString());
    if (arguments.service() != control::args::marking::Verify::Crpt) {
        return EContext::NotServed;
    }
    const SimpleProgress progress = MockFactory<Dialog>::create()->showProgress(
        tr::Tr(QStringLiteral("processRequestMessage"), QStringLiteral("Обращение к серверу...")), tr::Tr());
    const CheckMarkingCodesResult online = crptClient->checkMarkingCodes(
        arguments.apiKey(), arguments.markingCodes(), toMilliseconds(arguments.operationTimeout()),
        toMilliseconds(arguments.requestTimeout()));
    arguments.setVerifyResult(online);
    return EContext::Done;
}

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
