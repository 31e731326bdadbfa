#include "crpt/crptclient.h"

#include <algorithm>

#include <QJsonObject>
#include <QMutexLocker>
#include <QScopeGuard>

#include "crpt/messages.h"
#include "result/requeststatus.h"
#include <config/config.h>
#include <log4qt/logger.h>
#include <orvex/activitynotifier.h>
#include <orvex/eactivitylistener.h>
#include <orvex/events.h>
#include <utils/currenttime.h>

using std::chrono::milliseconds;
namespace messages = crpt::messages;

namespace {

QHash<QString, QString> listHeaders(const QString& apiKey)
{
    return {
        {QStringLiteral("X-API-KEY"), apiKey},
        {QStringLiteral("Accept"), QStringLiteral("application/json")},
        {QStringLiteral("Connection"), QStringLiteral("close")},
    };
}

tr::Tr tokenNotice()
{
    return {QStringLiteral("crptIncorrectTokenErrorNotification"),
            QStringLiteral("Честный знак: ошибка токена. Чеки будут сформированы некорректно")};
}

/// Under the one id of the token notice and its withdrawal, so that each replaces the one before.
void sendNotice(const tr::Tr& text)
{
    const events::ErrorNotification notice{Event(EActivityListener::ErrorNotification)};
    notice.setNotification(text);
    notice.setId(QStringLiteral("Crpt"));
    Singleton<ActivityNotifier>::instance()->sendEvent(notice.event());
}

bool isHealthy(const QJsonObject& reply)
{
    const QJsonValue code = reply.value(QLatin1String("code"));
    return !code.isUndefined() && code.toInt(0) == 0;
}

/// The different sites of an operator's list, in its order, the first ones only when there are too many.
QStringList listedSites(const QJsonArray& listed, const Log4Qt::Logger* logger)
{
    QStringList sites;
    for (const auto& element : listed) {
        sites.append(element.toObject().value(QLatin1String("host")).toString());
    }
    sites.removeDuplicates();
    sites.removeOne(QString());
    if (sites.size() > CrptClient::maxListedSites) {
        logger->warn(messages::sitesLeftOut, qint64(sites.size()), CrptClient::maxListedSites);
        sites.resize(CrptClient::maxListedSites);
    }
    return sites;
}

/// Adds a host's sites. Of one that another host has brought, too, the faster record counts.
void addSites(CDNInfos& sites, const CDNInfos& found)
{
    for (const auto& site : found) {
        const auto known = std::find_if(sites.begin(), sites.end(),
                                        [&](const auto& other) { return other->host == site->host; });
        if (known == sites.end()) {
            sites.append(site);
        } else if (*site < **known) {
            *known = site;
        }
    }
}

}  // namespace

std::atomic<bool> CrptClient::updateRunning = false;

CrptClient::UpdateInfoStatus CrptClient::updateInfo()
{
    if (!hasKeys()) {
        logger->warn(messages::noKeys);
        return UpdateInfoStatus::NoKeys;
    }
    if (!beginUpdate()) {
        return UpdateInfoStatus::AlreadyRunning;
    }
    Notices notices;
    try {
        replaceList(notices);
    } catch (...) {
        logger->error(messages::updateBroken);
        setUpdateSucceeded(false);
    }
    updateRunning = false;
    deliver(notices);
    return UpdateInfoStatus::Finished;
}

bool CrptClient::hasKeys() const
{
    const QMutexLocker lock(&keysMutex);
    return !keys.isEmpty();
}

/// False when another update is running.
bool CrptClient::beginUpdate()
{
    if (!updateRunning) {
        logger->info(messages::updateBegins);
        deliver({tr::Tr()});  // withdraws an earlier notice; its listeners may ask for an update
        if (!updateRunning.exchange(true)) {
            return true;
        }
    }
    logger->debug(messages::updateRunning);
    return false;
}

void CrptClient::replaceList(Notices& notices)
{
    QMutexLocker hostsLock(&hostsMutex);
    const QList<QUrl> known = hosts.keys();
    hostsLock.unlock();
    const auto deadline = Deadline::in(maxUpdateTime);
    {
        const QMutexLocker lock(&stateMutex);
        updateDeadline = deadline;
    }
    const auto atTheEnd = qScopeGuard([this] {
        const QMutexLocker lock(&stateMutex);
        updateDeadline = {};
    });
    CDNInfos sites;
    for (const QUrl& host : known) {
        addSites(sites, sitesOf(host));
        if (isTokenRefused(host)) {
            logger->error(messages::tokenRefused);
            notices.append(tokenNotice());
        }
    }
    if (deadline.hasPassed()) {
        logger->warn(messages::updateCutShort, qint64(maxUpdateTime.count()));
    }
    if (sites.isEmpty()) {
        logger->warn(messages::updateFailed);
        setUpdateSucceeded(false);
    } else {
        install(sites);
    }
}

/// The healthy sites that the first key to bring any of them gives for a host. A key that is held several
/// times is tried once.
CDNInfos CrptClient::sitesOf(const QUrl& host)
{
    QStringList hostKeys = getApiKey(host);
    hostKeys.removeDuplicates();
    for (const QString& key : std::as_const(hostKeys)) {
        if (updateTimeLeft() <= std::chrono::nanoseconds::zero()) {
            break;
        }
        CDNInfos sites = checkHealth(getCdnInfo(host, key), key);
        if (!sites.isEmpty()) {
            return sites;
        }
    }
    return {};
}

std::chrono::nanoseconds CrptClient::updateTimeLeft() const
{
    const QMutexLocker lock(&stateMutex);
    return updateDeadline.remaining();
}

bool CrptClient::isTokenRefused(const QUrl& host) const
{
    const QMutexLocker lock(&stateMutex);
    return incorrectTokenHosts.value(host, false);
}

void CrptClient::setUpdateSucceeded(bool succeeded)
{
    const QMutexLocker lock(&stateMutex);
    cdnInfos.updateSucceeded = succeeded;
}

void CrptClient::install(const CDNInfos& sites)
{
    CDNInfos sorted = sites;
    sorted.sort();
    const auto& chosen = *sorted.constFirst();
    const QString host = chosen.host;
    const int time = chosen.responseTime;
    {
        const QMutexLocker lock(&stateMutex);
        cdnInfos.swap(sorted);
        cdnInfos.updateSucceeded = true;
    }
    logger->info(messages::siteChosen, host, time);
}

QSharedPointer<RestClient> CrptClient::freshClient(const QString& alias, const QString& timeoutKey) const
{
    constexpr int defaultTimeout = 10;                                 // seconds
    constexpr milliseconds timeoutForNone = std::chrono::seconds(30);  // as the HTTP client has it
    milliseconds configured =
        std::chrono::seconds(Singleton<Config>::instance()->getInt(timeoutKey, defaultTimeout));
    if (configured <= milliseconds::zero()) {
        configured = timeoutForNone;
    }
    const auto left = std::max(std::chrono::ceil<milliseconds>(updateTimeLeft()), milliseconds(1));
    auto client = MockFactory<RestClient>::create();
    client->setLogger(logger);
    client->setTargetAlias(alias);
    client->setTimeout(std::min(configured, left));
    return client;
}

QJsonArray CrptClient::getCdnInfo(const QUrl& host, const QString& apiKey)
{
    setUpdateSucceeded(true);
    const auto client =
        freshClient(QStringLiteral("серверу честного знака для получения списка CDN-площадок"),
                    QStringLiteral("CRPT:getInfoTimeout"));
    const QUrl url = getUrl(host.toString(), CdnMethod::Info);
    const http::Response response = client->request(url, QJsonDocument(), listHeaders(apiKey));
    noteInfoReply(host, response);
    return response.responseObject().value(QLatin1String("hosts")).toArray();
}

void CrptClient::noteInfoReply(const QUrl& host, const http::Response& response)
{
    const auto status = requestStatusOf(response);
    http::Response kept = response;
    kept.setBody(response.body());  // the bytes alone: what is parsed of them may take nine times as much
    kept.setUrl(getUrl(host.toString(), CdnMethod::Info));
    const QMutexLocker lock(&stateMutex);
    if (status != RequestStatus::IncorrectToken) {
        incorrectTokenHosts.insert(host, false);
    } else if (!incorrectTokenHosts.contains(host)) {
        incorrectTokenHosts.insert(host, true);
    }
    if (status == RequestStatus::Timeout || status == RequestStatus::NetworkError) {
        cdnInfos.updateSucceeded = false;
    }
    requestStates.insert(host, kept);
}

CDNInfos CrptClient::checkHealth(const QJsonArray& listed, const QString& apiKey) const
{
    const auto clock = MockFactory<CurrentTime>::create();
    CDNInfos healthy;
    const QStringList probed = listedSites(listed, logger);
    for (const QString& host : probed) {
        if (updateTimeLeft() <= std::chrono::nanoseconds::zero()) {
            break;
        }
        const auto begin = clock->monotonic();
        const auto client =
            freshClient(QStringLiteral("серверу честного знака для получения состояния CDN-площадки"),
                        QStringLiteral("CRPT:healthCheckTimeout"));
        const http::Response response =
            client->request(getUrl(host, CdnMethod::HealthCheck), QJsonDocument(), listHeaders(apiKey));
        if (!isHealthy(response.responseObject())) {
            logger->warn(messages::siteUnhealthy);
            continue;
        }
        const auto site = QSharedPointer<CdnInfo>::create();
        site->responseTime =
            static_cast<qint32>(std::chrono::floor<milliseconds>(clock->monotonic() - begin).count());
        site->host = host;
        logger->debug(messages::siteMeasured, site->responseTime);
        healthy.append(site);
    }
    return healthy;
}

void CrptClient::notifyIncorrectToken() const
{
    logger->error(messages::tokenRefused);
    deliver({tokenNotice()});
}

/// Sends the notices; in a turn, once it is over.
void CrptClient::deliver(const Notices& notices) const
{
    for (const tr::Tr& notice : notices) {
        cdnMutex.runUnlocked([notice] { sendNotice(notice); });
    }
}
