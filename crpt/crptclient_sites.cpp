#include "crpt/crptclient.h"

#include <algorithm>

#include <QMutexLocker>

#include "crpt/failover.h"
#include <utils/currenttime.h>

http::Response CrptClient::request(const QHash<QString, QString>& headers, const QJsonDocument& body,
                                   std::chrono::milliseconds operationTimeout,
                                   std::chrono::milliseconds requestTimeout)
{
    return Failover(*this, headers, body, operationTimeout, requestTimeout).run();
}

QList<QSharedPointer<CdnInfo>> CrptClient::siteList() const
{
    const QMutexLocker lock(&stateMutex);
    return {cdnInfos.cbegin(), cdnInfos.cend()};
}

bool CrptClient::hasAvailableSite() const
{
    const QMutexLocker lock(&stateMutex);
    return cdnInfos.hasAvailable();
}

bool CrptClient::hasAvailableSite(const QList<QSharedPointer<CdnInfo>>& sites, const CdnInfo* besides) const
{
    const QMutexLocker lock(&stateMutex);
    return std::any_of(sites.begin(), sites.end(),
                       [&](const auto& site) { return site.get() != besides && site->isAvailable(); });
}

http::ErrorKind CrptClient::kindWithoutSites() const
{
    const QMutexLocker lock(&stateMutex);
    return cdnInfos.hasNetworkError() ? http::ErrorKind::Unreachable : http::ErrorKind::SalePermitted;
}

bool CrptClient::isSearchHeldBack() const
{
    if (updateInfoInterval <= 0) {
        return false;
    }
    const auto now = MockFactory<CurrentTime>::create()->monotonic();
    const QMutexLocker lock(&stateMutex);
    return now - lastRefreshTime < std::chrono::seconds(updateInfoInterval);
}

/// Keeps what the operator said to the last search, and when that was.
void CrptClient::noteFailedSearch(http::Response& response)
{
    const auto now = MockFactory<CurrentTime>::create()->monotonic();
    const QMutexLocker lock(&stateMutex);
    if (requestStates.isEmpty()) {
        return;
    }
    const http::Response& last = requestStates.first();
    response.setStatus(last.status());
    response.setBody(last.body());
    response.setUrl(last.url());
    response.setErrorText(last.errorText());
    lastRefreshTime = now;
}

int CrptClient::getRequestStatus(const http::Response& response)
{
    return static_cast<int>(requestStatusOf(response));
}
