#include "crpt/crptclient.h"

#include <algorithm>

#include <QMutexLocker>

#include <config/config.h>
#include <log4qt/logmanager.h>
#include <orvex/activitynotifier.h>
#include <orvex/eactivitylistener.h>

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
    {
        const std::lock_guard lock(startMutex);
        started = true;
    }
    startedChanged.notify_all();
    Singleton<ActivityNotifier>::instance()->addListener(this, {EActivityListener::OnlineServicesRefresh,
                                                                EActivityListener::NetworkSettingsChanged,
                                                                EActivityListener::NetworkUp});
}

void CrptClient::waitForStart(std::chrono::milliseconds limit)
{
    // A thread starts within moments or never: a check without a limit must not wait for ever.
    constexpr std::chrono::milliseconds longest = std::chrono::minutes(1);
    std::unique_lock lock(startMutex);
    startedChanged.wait_for(lock, std::min(limit, longest), [this] { return started; });
}

void CrptClient::handleEvent(const Event& event)
{
    switch (event.getCode()) {
    case EActivityListener::NetworkUp:
    case EActivityListener::NetworkSettingsChanged:
    case EActivityListener::OnlineServicesRefresh:
        createClient();
        break;
    default:
        break;
    }
}

void CrptClient::createClient()
{
    const auto client = MockFactory<RestClient>::create();
    client->setLogger(logger);
    const std::lock_guard lock(restClientMutex);
    restClient = client;
}

QSharedPointer<RestClient> CrptClient::standingClient()
{
    const auto current = [this] {
        const std::lock_guard lock(restClientMutex);
        return restClient;
    };
    if (auto client = current()) {
        return client;
    }
    createClient();  // the client's thread has not started in time
    return current();
}

void CrptClient::addHost(const QUrl& url, const QString& owner)
{
    if (!getApiKey(url).isEmpty()) {
        return;
    }
    logger->info(QStringLiteral("Добавлен хост: %1 (%2)"), url.toString(), owner);
    const QMutexLocker lock(&hostsMutex);
    hosts.insert(url, owner);
}

void CrptClient::addKey(const QString& key, const QString& owner)
{
    {
        const QMutexLocker lock(&keysMutex);
        keys.insert(owner, key);
    }
    logger->info(QStringLiteral("Добавлен ключ X-API-KEY: %1 (%2)"), key, owner);
}

QStringList CrptClient::getApiKey(const QUrl& url) const
{
    const QMutexLocker keysLock(&keysMutex);
    const QMutexLocker hostsLock(&hostsMutex);
    return keys.values(hosts.value(url));
}

QList<QUrl> CrptClient::getHosts(CdnMethod method) const
{
    QList<QUrl> known;
    {
        const QMutexLocker lock(&hostsMutex);
        known = hosts.keys();
    }
    QList<QUrl> urls;
    urls.reserve(known.size());
    for (const QUrl& host : std::as_const(known)) {
        urls.append(getUrl(host.toString(), method));
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
