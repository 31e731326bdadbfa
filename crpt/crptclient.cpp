#include "crpt/crptclient.h"

#include <QMutexLocker>

#include "crpt/messages.h"
#include <config/config.h>
#include <log4qt/logmanager.h>
#include <orvex/activitynotifier.h>
#include <orvex/eactivitylistener.h>

namespace {

/// With each of them the HTTP client is made anew.
const QList<int> clientEvents = {EActivityListener::OnlineServicesRefresh,
                                 EActivityListener::NetworkSettingsChanged, EActivityListener::NetworkUp};

}  // namespace

CrptClient::CrptClient()
    : basePath(QStringLiteral("/api/v4/true-api"))
    , logger(Log4Qt::LogManager::logger(QStringLiteral("crptclient"), QString()))
    , updateInfoInterval(Singleton<Config>::instance()->getInt(QStringLiteral("CRPT:updateInfoInterval"), -1))
{
}

CrptClient::~CrptClient()
{
    stopListening();
}

void CrptClient::onStart()
{
    createClient();
    Singleton<ActivityNotifier>::instance()->addListener(this, clientEvents);
}

void CrptClient::handleEvent(const Event& event)
{
    if (clientEvents.contains(event.getCode())) {
        createClient();
    }
}

void CrptClient::createClient()
{
    const auto client = MockFactory<RestClient>::create();
    client->setLogger(logger);
    const QMutexLocker lock(&stateMutex);
    restClient = client;
}

QSharedPointer<RestClient> CrptClient::standingClient()
{
    QMutexLocker lock(&stateMutex);
    if (!restClient) {
        lock.unlock();
        createClient();
        lock.relock();
    }
    return restClient;
}

void CrptClient::addHost(const QUrl& url, const QString& owner)
{
    if (!getApiKey(url).isEmpty()) {
        return;
    }
    logger->info(crpt::messages::hostAdded, url.toString(), owner);
    const QMutexLocker lock(&hostsMutex);
    hosts.insert(url, owner);
}

void CrptClient::addKey(const QString& key, const QString& owner)
{
    {
        const QMutexLocker lock(&keysMutex);
        keys.insert(owner, key);
    }
    logger->info(crpt::messages::keyAdded, key, owner);
}

QStringList CrptClient::getApiKey(const QUrl& url) const
{
    const QMutexLocker keysLock(&keysMutex);
    const QMutexLocker hostsLock(&hostsMutex);
    return keys.values(hosts.value(url));
}

QList<QUrl> CrptClient::getHosts(CdnMethod method) const
{
    QList<QUrl> urls;
    const QMutexLocker lock(&hostsMutex);
    for (auto host = hosts.keyBegin(); host != hosts.keyEnd(); ++host) {
        urls.append(getUrl(host->toString(), method));
    }
    return urls;
}

QUrl CrptClient::getUrl(const QString& host, CdnMethod method) const
{
    static const QHash<CdnMethod, QString> methodPaths = {
        {CdnMethod::Info, QStringLiteral("/cdn/info")},
        {CdnMethod::HealthCheck, QStringLiteral("/cdn/health/check")},
        {CdnMethod::CodesCheck, QStringLiteral("/codes/check")},
    };
    QUrl url(host, QUrl::TolerantMode);
    QString path = url.path(QUrl::FullyDecoded);
    if (path.endsWith(u'/')) {
        path.chop(1);
    }
    url.setPath(path + basePath + methodPaths.value(method), QUrl::DecodedMode);
    return url;
}
