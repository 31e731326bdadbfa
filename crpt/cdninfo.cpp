#include "crpt/cdninfo.h"

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
