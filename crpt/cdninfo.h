#pragma once

#include <QDateTime>
#include <QList>
#include <QSharedPointer>
#include <QString>

/// One CDN site: how fast it answered its health check, and whether it is in quarantine.
///
/// Held by QSharedPointer, so that the client's list, copies of it and a running check see the same record.
/// No locking of its own: the client guards its records.
struct CdnInfo
{
    qint32 responseTime = -1;    ///< milliseconds that the health check took; the only sort key
    QString host;                ///< address as the operator listed it
    bool available = true;       ///< false from markAsUnavailable() on, also when the quarantine is over
    QDateTime unavailableUntil;  ///< wall clock: end of the quarantine; counts while `available` is false
    bool networkError = false;   ///< what took the site out of service was a fault of the network

    /// Whether the site may be asked: it is in service, or its quarantine ended before now. Reads the clock
    /// only in the latter case, and changes nothing.
    [[nodiscard]] bool isAvailable();

    /// Starts a quarantine, replacing an earlier one.
    void markAsUnavailable(const QDateTime& until, bool byNetworkError);

    /// Same time and same host, whatever the availability.
    bool operator==(const CdnInfo& other) const;
    /// Faster than the other.
    bool operator<(const CdnInfo& other) const;
};

/// The client's CDN sites, fastest first once sorted. Copies share the records, not the order.
/// No locking of its own.
class CDNInfos : public QList<QSharedPointer<CdnInfo>>
{
public:
    /// The last update of the list from the operator succeeded, or there was none yet.
    bool updateSucceeded = true;

    /// Orders by ascending response time; equal times in no particular order.
    void sort();
    /// Whether any site may be asked.
    [[nodiscard]] bool hasAvailable() const;
    /// Whether the last update failed or any site was taken out of service by a fault of the network.
    [[nodiscard]] bool hasNetworkError() const;
};
