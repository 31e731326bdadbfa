#include "crpt/cdninfos.h"

#include <algorithm>

void CDNInfos::sort()
{
    std::sort(begin(), end(), [](const auto& a, const auto& b) { return *a < *b; });
}

bool CDNInfos::hasAvailable() const
{
    // From the last one on, as those that are not come first.
    return std::any_of(crbegin(), crend(), [](const auto& site) { return site->isAvailable(); });
}

bool CDNInfos::hasNetworkError() const
{
    return !updateSucceeded ||
           std::any_of(cbegin(), cend(), [](const auto& site) { return site->networkError; });
}
