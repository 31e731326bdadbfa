#pragma once

#include <atomic>
#include <chrono>

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QList>
#include <QMap>
#include <QMultiMap>
#include <QMutex>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QUrl>

#include "crpt/cdninfo.h"
#include "crpt/deadline.h"
#include "result/checkmarkingcodesresult.h"
#include "sync/fairmutex.h"
#include <network/restclient.h>
#include <orvex/baseactivitylistener.h>
#include <utils/markingcode.h>

namespace Log4Qt {
class Logger;
}

/// The operator's methods.
enum class CdnMethod : int {
    Info = 1,         ///< "/cdn/info": an operator host's list of CDN sites
    HealthCheck = 2,  ///< "/cdn/health/check": is a host or site in order?
    CodesCheck = 3,   ///< "/codes/check": check marking codes
};

/// The client of the marking operator's online check.
///
/// It learns the CDN sites from the operator's hosts, measures them, keeps them fastest first, and sends
/// checks to the first one that is in service, failing over to the next (see Failover).
///
/// The object lives in a thread of its own, where onStart() and queued list updates run; every public
/// operation may be called from any thread and blocks until it is done. Nothing throws: failures are in the
/// returned values, in the log ("crptclient") and in host notifications. Notifications are sent when no lock
/// is held and no list update of this call is running: a listener may wait for a thread that wants a check.
class CrptClient : public BaseActivityListener
{
    Q_OBJECT

public:
    enum class UpdateInfoStatus : int {
        NoKeys = 1,          ///< no API key is registered; nothing was done
        AlreadyRunning = 2,  ///< another update is in progress; nothing was done
        Finished = 3,        ///< ran to its end; whether it succeeded is told by the list's updateSucceeded
    };

    /// The least that a check's time limits are raised to.
    static constexpr std::chrono::milliseconds minTimeLimit{2000};
    /// An update of the list sends no request after this time, and cuts their time-outs to what is left of
    /// it.
    static constexpr std::chrono::seconds maxUpdateTime{60};
    /// Of one operator host's list no more different sites than these are looked at.
    static constexpr int maxListedSites = 100;

    /// Reads "CRPT:updateInfoInterval". No network, no HTTP client yet.
    CrptClient();
    ~CrptClient() override;

    /// Events 10, 11 and 172 replace the HTTP client; requests under way finish with the one that they have.
    void handleEvent(const Event& event) override;

    /// Checks codes with `apiKey` and gives every requested code a verdict (see fitToErrorKind()). Time
    /// limits below minTimeLimit are raised to it; milliseconds::max() means no limit. The reply,
    /// errorKind() included, is part of the result.
    virtual CheckMarkingCodesResult checkMarkingCodes(const QString& apiKey, const QList<MarkingCode>& codes,
                                                      std::chrono::milliseconds operationTimeout,
                                                      std::chrono::milliseconds requestTimeout);

    /// Registers an operator host under its owner. A host for whose owner keys are known already is passed
    /// over, and so is any unknown host while keys of an empty owner exist.
    virtual void addHost(const QUrl& url, const QString& owner);
    /// Registers an API key of an owner, before the ones that the owner has. The same key may be held twice.
    virtual void addKey(const QString& key, const QString& owner);

    /// URL of the method on every registered operator host, in URL order.
    [[nodiscard]] virtual QList<QUrl> getHosts(CdnMethod method) const;

    /// Fetches the site list from every operator host, measures the sites and installs the healthy ones,
    /// fastest first. When there is none, the earlier list stays. One update at a time in the process. Begins
    /// with the withdrawal of an earlier notice of a refused key, and ends with a new one for each host whose
    /// first answer was a refusal.
    Q_INVOKABLE virtual CrptClient::UpdateInfoStatus updateInfo();

    /// POSTs `body` to the check method of the sites in turn until one of them gives a reply that is to be
    /// taken. A failing site is out of service until more than 15 minutes have passed or a new list has been
    /// installed; when none is left the list is fetched again. Calls take turns, in order of arrival.
    /// `operationTimeout` is the budget (see Failover), `requestTimeout` the limit of one attempt;
    /// milliseconds::max() means no limit. The last reply, with its errorKind().
    virtual http::Response request(const QHash<QString, QString>& headers, const QJsonDocument& body,
                                   std::chrono::milliseconds operationTimeout,
                                   std::chrono::milliseconds requestTimeout);

    /// The "hosts" array of one operator host's reply to one key; empty when there is none.
    virtual QJsonArray getCdnInfo(const QUrl& host, const QString& apiKey);
    /// Probes the listed sites one after another; the healthy ones with their times, in the order of the
    /// list. A site that is listed twice is probed once.
    [[nodiscard]] virtual CDNInfos checkHealth(const QJsonArray& listed, const QString& apiKey) const;

    /// Keys of the owner of `url`, newest first; for an unknown URL those of the empty owner.
    [[nodiscard]] virtual QStringList getApiKey(const QUrl& url) const;

    /// URL of a method on a host; the host's own path is kept in front. No method path for an unknown method.
    [[nodiscard]] QUrl getUrl(const QString& host, CdnMethod method) const;

    /// See RequestStatus.
    [[nodiscard]] static int getRequestStatus(const http::Response& response);

    /// Logs that the operator refused the key and tells the cashier; in a turn, once it is over.
    void notifyIncorrectToken() const;

    /// Replaces the standing HTTP client.
    void createClient();

public Q_SLOTS:
    /// Makes the HTTP client and begins to listen. Called in the client's own thread as that starts. A check
    /// that comes earlier makes the HTTP client itself.
    void onStart();

private:
    friend class Failover;

    using Notices = QList<tr::Tr>;

    [[nodiscard]] QSharedPointer<RestClient> standingClient();
    [[nodiscard]] QSharedPointer<RestClient> freshClient(const QString& alias,
                                                         const QString& timeoutKey) const;

    // List update
    [[nodiscard]] bool hasKeys() const;
    [[nodiscard]] bool beginUpdate();
    void replaceList(Notices& notices);
    [[nodiscard]] CDNInfos sitesOf(const QUrl& host);
    void install(const CDNInfos& sites);
    void setUpdateSucceeded(bool succeeded);
    void noteInfoReply(const QUrl& host, const http::Response& response);
    [[nodiscard]] std::chrono::nanoseconds updateTimeLeft() const;
    [[nodiscard]] bool isTokenRefused(const QUrl& host) const;

    // Failover
    [[nodiscard]] QList<QSharedPointer<CdnInfo>> siteList() const;
    [[nodiscard]] bool hasAvailableSite() const;
    [[nodiscard]] bool hasAvailableSite(const QList<QSharedPointer<CdnInfo>>& sites,
                                        const CdnInfo* besides) const;
    [[nodiscard]] http::ErrorKind kindWithoutSites() const;
    [[nodiscard]] bool isSearchHeldBack() const;
    void noteFailedSearch(http::Response& response);
    void deliver(const Notices& notices) const;

    // Locks, in the order in which two may be held together: cdnMutex, keysMutex, hostsMutex, stateMutex.
    // Of these, only cdnMutex is held while a request is under way. It keeps failovers apart; the list itself
    // is guarded by stateMutex.
    QSharedPointer<RestClient> restClient;  // guarded by stateMutex

    mutable QMutex hostsMutex;         // guards hosts
    QMap<QUrl, QString> hosts;         // base URL to owner
    mutable QMutex keysMutex;          // guards keys
    QMultiMap<QString, QString> keys;  // owner to API keys

    mutable QMutex stateMutex;  // guards, for moments only, restClient and all from here to lastRefreshTime
    QMap<QUrl, bool> incorrectTokenHosts;
    QMap<QUrl, http::Response> requestStates;     // the last site-list reply of each operator host
    Deadline updateDeadline;                      // of the list update that is running
    CDNInfos cdnInfos;                            // the list, and what its records say
    std::chrono::nanoseconds lastRefreshTime{0};  // monotonic time of the last failed search for a site

    mutable FairMutex cdnMutex;  // the turn: one failover at a time

    const QString basePath;
    Log4Qt::Logger* const logger;
    const qint32 updateInfoInterval;  // seconds between searches for a site; 0 or less: no minimum

    static std::atomic<bool> updateRunning;  // of all clients in the process
};

Q_DECLARE_METATYPE(CrptClient::UpdateInfoStatus)
