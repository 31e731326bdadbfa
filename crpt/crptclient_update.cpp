#include "crpt/crptclient.h"

#include <utility>

#include <QJsonObject>
#include <QMutexLocker>
#include <QScopeGuard>

#include "crpt/requeststatus.h"
#include <config/config.h>
#include <log4qt/logger.h>
#include <orvex/activitynotifier.h>
#include <orvex/eactivitylistener.h>
#include <orvex/events.h>
#include <utils/currenttime.h>

namespace {

/// Whose notices these are: the token notice and its withdrawal.
const auto NoticeId = QStringLiteral("Crpt");

QHash<QString, QString> listHeaders(const QString& apiKey)
{
    return {
        {QStringLiteral("X-API-KEY"), apiKey},
        {QStringLiteral("Accept"), QStringLiteral("application/json")},
        {QStringLiteral("Connection"), QStringLiteral("close")},
    };
}

void sendNotice(const tr::Tr& text)
{
    const events::ErrorNotification notice{Event(EActivityListener::ErrorNotification)};
    notice.setNotification(text);
    notice.setId(NoticeId);
    Singleton<ActivityNotifier>::instance()->sendEvent(notice.event());
}

bool isHealthy(const QJsonObject& reply)
{
    const QJsonValue code = reply.value(QLatin1String("code"));
    return !code.isUndefined() && code.toInt(0) == 0;
}

}  // namespace

std::atomic<bool> CrptClient::updateRunning = false;
thread_local int CrptClient::updatesHere = 0;

CrptClient::UpdateInfoStatus CrptClient::updateInfo()
{
    if (!hasKeys()) {
        logger->warn(QStringLiteral("Нет ключей для работы с CDN-площадками"));
        return UpdateInfoStatus::NoKeys;
    }
    if (updateRunning) {
        logger->debug(QStringLiteral("Процесс обновления списка CDN-площадок уже запущен"));
        return UpdateInfoStatus::AlreadyRunning;
    }
    logger->info(QStringLiteral("Получение списка CDN-площадок"));
    updateRunning = true;
    ++updatesHere;
    const auto idle = qScopeGuard([] {
        --updatesHere;
        updateRunning = false;
    });

    try {
        withdrawNotice();
        const CDNInfos sites = collectSites();
        if (sites.isEmpty()) {
            logger->warn(QStringLiteral("Не удалось обновить список площадок"));
            cdnInfos.updateSucceeded = false;
        } else {
            install(sites);
        }
    } catch (...) {
        logger->error(QStringLiteral("Обновление списка площадок прервано исключением"));
        cdnInfos.updateSucceeded = false;
    }
    return UpdateInfoStatus::Finished;
}

bool CrptClient::hasKeys() const
{
    const QMutexLocker lock(&keysMutex);
    return !keys.isEmpty();
}

void CrptClient::withdrawNotice() const
{
    sendNotice(tr::Tr());
}

void CrptClient::notifyIncorrectToken() const
{
    logger->error(QStringLiteral("Ошибка авторизации"));
    sendNotice(tr::Tr(QStringLiteral("crptIncorrectTokenErrorNotification"),
                      QStringLiteral("Честный знак: ошибка токена. Чеки будут сформированы некорректно")));
}

CDNInfos CrptClient::collectSites()
{
    QList<QUrl> known;
    {
        const QMutexLocker lock(&hostsMutex);
        known = hosts.keys();
    }
    CDNInfos sites;
    for (const QUrl& host : std::as_const(known)) {
        sites.append(sitesOf(host));
        const bool incorrectToken = [&] {
            const std::lock_guard lock(stateMutex);
            return incorrectTokenHosts.value(host, false);
        }();
        if (incorrectToken) {
            notifyIncorrectToken();
        }
    }
    return sites;
}

/// The healthy sites that the first key to bring any of them gives for a host.
CDNInfos CrptClient::sitesOf(const QUrl& host)
{
    const QStringList hostKeys = getApiKey(host);
    for (const QString& key : hostKeys) {
        const QJsonArray listed = getCdnInfo(host, key);
        CDNInfos sites = checkHealth(listed, key);
        if (!sites.isEmpty()) {
            return sites;
        }
    }
    return {};
}

void CrptClient::install(const CDNInfos& sites)
{
    const std::lock_guard cdnLock(cdnMutex);
    const std::lock_guard recordsLock(recordsMutex);
    cdnInfos = sites;
    cdnInfos.sort();
    for (const auto& site : std::as_const(cdnInfos)) {
        site->checkUrl = getUrl(site->host, CdnMethod::CodesCheck);
    }
    const auto& chosen = *cdnInfos.constFirst();
    logger->info(QStringLiteral("Выбрана CDN: %1 (%2 мс)"), chosen.host, chosen.responseTime);
}

QSharedPointer<RestClient> CrptClient::freshClient(const QString& alias, const QString& timeoutKey) const
{
    constexpr int defaultTimeout = 10;  // seconds
    auto client = MockFactory<RestClient>::create();
    client->setLogger(logger);
    client->setTargetAlias(alias);
    client->setTimeout(std::chrono::milliseconds(
        std::chrono::seconds(Singleton<Config>::instance()->getInt(timeoutKey, defaultTimeout))));
    return client;
}

QJsonArray CrptClient::getCdnInfo(const QUrl& host, const QString& apiKey)
{
    cdnInfos.updateSucceeded = true;
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
    const std::lock_guard lock(stateMutex);
    switch (status) {
    case RequestStatus::Timeout:
    case RequestStatus::NetworkError:
        incorrectTokenHosts.insert(host, false);
        cdnInfos.updateSucceeded = false;
        break;
    case RequestStatus::IncorrectToken:
        if (!incorrectTokenHosts.contains(host)) {
            incorrectTokenHosts.insert(host, true);
        }
        break;
    default:
        incorrectTokenHosts.insert(host, false);
        break;
    }
    requestStates.insert(host, {response.status(), response.errorText(), response.body(),
                                getUrl(host.toString(), CdnMethod::Info)});
}

CDNInfos CrptClient::checkHealth(const QJsonArray& listed, const QString& apiKey) const
{
    const auto clock = MockFactory<CurrentTime>::create();
    CDNInfos healthy;
    for (const auto& element : listed) {
        const QString host = element.toObject().value(QLatin1String("host")).toString();
        if (host.isEmpty()) {
            continue;
        }
        const auto begin = clock->monotonic();
        const auto client =
            freshClient(QStringLiteral("серверу честного знака для получения состояния CDN-площадки"),
                        QStringLiteral("CRPT:healthCheckTimeout"));
        const http::Response response =
            client->request(getUrl(host, CdnMethod::HealthCheck), QJsonDocument(), listHeaders(apiKey));
        if (!isHealthy(response.responseObject())) {
            logger->warn(QStringLiteral("Некорректное состояние площадки"));
            continue;
        }
        const auto site = QSharedPointer<CdnInfo>::create();
        site->responseTime = static_cast<qint32>(
            std::chrono::duration_cast<std::chrono::milliseconds>(clock->monotonic() - begin).count());
        site->host = host;
        logger->debug(QStringLiteral("Время ответа CDN: %1 мс."), site->responseTime);
        healthy.append(site);
    }
    return healthy;
}
