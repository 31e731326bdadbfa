#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

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

#include "crpt/cdninfos.h"
#include "result/checkmarkingcodesresult.h"
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
/// checks to the first one that is in service, failing over to the next.
///
/// The object lives in a thread of its own, where onStart() and queued list updates run; every public
/// operation may be called from any thread and blocks until it is done. Nothing throws: failures are in the
/// returned values, in the log ("crptclient") and in host notifications.
///
/// Locks, in the order in which they may be taken together:
///   walkMutex, cdnMutex, then one of keysMutex -> hostsMutex, recordsMutex, stateMutex, startMutex,
///   restClientMutex.
/// None of the latter is held while a request is under way.
class CrptClient : public BaseActivityListener
{
    Q_OBJECT

public:
    enum class UpdateInfoStatus : int {
        NoKeys = 1,          ///< no API key is registered; nothing was done
        AlreadyRunning = 2,  ///< another update is in progress; nothing was done
        Finished = 3,        ///< ran to its end; whether it succeeded is told by the list's updateSucceeded
    };

    /// Reads "CRPT:updateInfoInterval". No network, no HTTP client yet.
    CrptClient();
    ~CrptClient() override;

    /// Events 10, 11 and 172 replace the HTTP client; requests under way finish with the one that they have.
    void handleEvent(const Event& event) override;

    /// Checks codes with `apiKey` and gives every requested code a verdict (see fitToErrorKind()). Time
    /// limits below 2 s are raised to 2 s; milliseconds::max() means no limit. The reply, errorKind()
    /// included, is part of the result.
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
    /// fastest first. When there is none, the earlier list stays. One update at a time in the process.
    Q_INVOKABLE virtual CrptClient::UpdateInfoStatus updateInfo();

    /// POSTs `body` to the check method of the sites in turn until one of them gives a reply that is to be
    /// taken. A failing site is out of service for 15 minutes; when none is left the list is fetched again.
    /// `operationTimeout` is the budget of all attempts together, `requestTimeout` the limit of one;
    /// milliseconds::max() means no limit. The last reply, with its errorKind().
    virtual http::Response request(const QHash<QString, QString>& headers, const QJsonDocument& body,
                                   std::chrono::milliseconds operationTimeout,
                                   std::chrono::milliseconds requestTimeout);

    /// The "hosts" array of one operator host's reply to one key; empty when there is none.
    virtual QJsonArray getCdnInfo(const QUrl& host, const QString& apiKey);
    /// Probes the listed sites one after another; the healthy ones with their times, in the order of the
    /// list.
    [[nodiscard]] virtual CDNInfos checkHealth(const QJsonArray& listed, const QString& apiKey) const;

    /// Keys of the owner of `url`, newest first; for an unknown URL those of the empty owner.
    [[nodiscard]] virtual QStringList getApiKey(const QUrl& url) const;

    /// URL of a method on a host; the host's own path is kept in front. No method path for an unknown method.
    [[nodiscard]] QUrl getUrl(const QString& host, CdnMethod method) const;

    /// See RequestStatus.
    [[nodiscard]] static int getRequestStatus(const http::Response& response);

    /// Logs that the operator refused the key and tells the cashier.
    void notifyIncorrectToken() const;

    /// Replaces the standing HTTP client.
    void createClient();

public Q_SLOTS:
    /// Makes the HTTP client and begins to listen. Called once, in the client's own thread, as that thread
    /// starts; checks that come earlier wait for it.
    void onStart();

private:
    class Walk;

    /// What a site-list request to an operator host came to last.
    struct RequestState
    {
        int status = 0;
        tr::Tr errorText;
        QByteArray body;
        QUrl url;
    };

    [[nodiscard]] QSharedPointer<RestClient> standingClient();
    [[nodiscard]] QSharedPointer<RestClient> freshClient(const QString& alias,
                                                         const QString& timeoutKey) const;
    void waitForStart(std::chrono::milliseconds limit);

    // List update
    [[nodiscard]] bool hasKeys() const;
    [[nodiscard]] CDNInfos collectSites();
    [[nodiscard]] CDNInfos sitesOf(const QUrl& host);
    void install(const CDNInfos& sites);
    void withdrawNotice() const;
    void noteInfoReply(const QUrl& host, const http::Response& response);

    // Request
    [[nodiscard]] QHash<QString, QString> checkHeaders(const QString& apiKey);
    [[nodiscard]] bool hasAvailableSite() const;
    [[nodiscard]] http::ErrorKind kindWithoutSites() const;
    [[nodiscard]] bool isSearchHeldBack() const;
    void noteFailedSearch(http::Response& response);

    QSharedPointer<RestClient> restClient;
    mutable std::mutex restClientMutex;  // guards the restClient pointer

    mutable QMutex hostsMutex;         // guards hosts
    QMap<QUrl, QString> hosts;         // base URL to owner
    mutable QMutex keysMutex;          // guards keys; taken before hostsMutex where both are needed
    QMultiMap<QString, QString> keys;  // owner to API keys

    mutable std::mutex stateMutex;  // guards incorrectTokenHosts, requestStates, lastRefreshTime
    QMap<QUrl, bool> incorrectTokenHosts;
    QMap<QUrl, RequestState> requestStates;
    std::chrono::nanoseconds lastRefreshTime{0};  // monotonic time of the last failed search for a site

    std::mutex headersMutex;  // guards lastCheckKey and lastCheckHeaders, which are made of it
    QString lastCheckKey;
    QHash<QString, QString> lastCheckHeaders;

    // Both recursive: a host's listener of a notice that a walk or an update sends may check codes itself.
    std::recursive_mutex walkMutex;  // serialises failover walks
    int walkDepth = 0;               // of walks within each other; guarded by walkMutex
    std::recursive_mutex cdnMutex;   // held through a walk; whoever changes cdnInfos or its records holds it
    mutable std::mutex
        recordsMutex;  // besides cdnMutex for every change, alone for a look from outside a walk
    CDNInfos cdnInfos;

    std::mutex startMutex;  // guards started
    std::condition_variable startedChanged;
    bool started = false;

    const QString basePath;
    Log4Qt::Logger* const logger;
    const qint32 updateInfoInterval;  // seconds between searches for a site; 0 or less: no minimum

    static std::atomic<bool> updateRunning;  // of all clients in the process
    static thread_local int updatesHere;     // that run in this thread, further up its stack
};

Q_DECLARE_METATYPE(CrptClient::UpdateInfoStatus)
