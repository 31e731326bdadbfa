#include "crpt/cdninfos.h"

#include <algorithm>

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
