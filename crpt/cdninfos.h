#pragma once

#include <QList>
#include <QSharedPointer>

#include "crpt/cdninfo.h"
#include "crpt/sharedflag.h"

/// The client's CDN sites, fastest first once sorted. Copies share the records, not the order.
/// The list has no locking of its own; `updateSucceeded` may be written beside any other use.
class CDNInfos : public QList<QSharedPointer<CdnInfo>>
{
public:
    /// The last update of the list from the operator succeeded, or there was none yet.
    SharedFlag updateSucceeded = true;

    /// Orders by ascending response time; equal times in no particular order.
    void sort();
    /// Whether any site may be asked.
    [[nodiscard]] bool hasAvailable() const;
    /// Whether the last update failed or any site was taken out of service by a fault of the network.
    [[nodiscard]] bool hasNetworkError() const;
};
