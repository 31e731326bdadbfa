#include "crpt/cdninfo.h"

#include <algorithm>

#include <utils/currenttime.h>

bool CdnInfo::isAvailable()
{
    return available || unavailableUntil < MockFactory<CurrentTime>::create()->currentDateTime();
}

void CdnInfo::markAsUnavailable(const QDateTime& until, bool byNetworkError)
{
    unavailableUntil = until;
    available = false;
    networkError = byNetworkError;
}

bool CdnInfo::operator==(const CdnInfo& other) const
{
    return responseTime == other.responseTime && host == other.host;
}

bool CdnInfo::operator<(const CdnInfo& other) const
{
    return responseTime < other.responseTime;
}

void CDNInfos::sort()
{
    std::sort(begin(), end(), [](const auto& a, const auto& b) { return *a < *b; });
}

bool CDNInfos::hasAvailable() const
{
    return std::any_of(cbegin(), cend(), [](const auto& site) { return site->isAvailable(); });
}

bool CDNInfos::hasNetworkError() const
{
    return !updateSucceeded ||
           std::any_of(cbegin(), cend(), [](const auto& site) { return site->networkError; });
}
