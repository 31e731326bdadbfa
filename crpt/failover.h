#pragma once

#include <mutex>
#include <optional>

#include "crpt/crptclient.h"
#include "crpt/deadline.h"
#include "result/requeststatus.h"

/// What is known when an attempt at a site has ended.
struct AttemptOutcome
{
    RequestStatus reply = RequestStatus::Ok;
    bool isCausedHere = false;    ///< a failure that is not the site's: a header that cannot be sent, a
                                  ///< reply over our limit, a cancelled exchange
    bool hasReplyBegun = false;   ///< the site has sent a status, as it has with a reply over our limit
    bool isRetrySpent = false;    ///< the cross-border retry of this call
    bool isBudgetSpent = false;   ///< the time for all attempts together
    bool hasAnotherSite = false;  ///< one that may be asked, besides this one
    /// The last list update of this call; none when it has not asked for any.
    std::optional<CrptClient::UpdateInfoStatus> listUpdate{};
};

/// What a failover does next. From NextSite on the site is ejected first: it goes into quarantine.
enum class NextStep {
    TakeReply,     ///< the reply is the result; codes that it does not mention fail
    PermitSale,    ///< the reply is the result, and the sale is permitted without a verdict
    RetrySite,     ///< ask the same site again
    SkipSite,      ///< ask the next one; this one stays in service: its reply was over our limit, and its
                   ///< status tells nothing else. Without another site that reply is taken
    NextSite,      ///< ask the next one
    FetchList,     ///< no site is left: fetch the list, and begin anew if it brings any
    TryFirstSite,  ///< no site is left and the list was fetched: begin anew if there is one all the same
    NoToken,       ///< no site is left, and this call has found no key to fetch the list with
};

/// The rule of the failover. Pure.
[[nodiscard]] NextStep nextStep(const AttemptOutcome& outcome);

/// How long an ejected site rests.
inline constexpr std::chrono::minutes quarantinePeriod{15};

/// One call of CrptClient::request(): finds a site, waits for its turn, asks site after site as nextStep()
/// says.
///
/// What counts into the budget: the wait for another call's turn (its list updates included), every attempt,
/// and list updates between attempts, which it does not cut short. What does not: a search for sites before
/// the turn has come, whoever makes it. Once such searches have taken as long as one list update may take,
/// there is no further one.
///
/// When the list is fetched: before the turn whenever no site is available, unless updateInfoInterval holds
/// the search back; in the turn when the last site has failed, unless an update of this call has finished.
///
/// A call that finds no site while another one fetches the list waits for that, off its budget, and fetches
/// it itself if there is still none. A call that waits for its turn meanwhile spends its budget.
///
/// Past the last site of the list the call ends with the reply that it has: a site further up that was passed
/// over, or is back in service just then, is for the next call.
class Failover
{
public:
    /// The arguments are those of CrptClient::request(); they must outlive the object.
    Failover(CrptClient& client, const QHash<QString, QString>& headers, const QJsonDocument& body,
             std::chrono::milliseconds operationTimeout, std::chrono::milliseconds requestTimeout);

    /// The whole call. Notices of what happened in its turn are sent once the turn is over.
    [[nodiscard]] http::Response run();

private:
    using Sites = QList<QSharedPointer<CdnInfo>>;

    [[nodiscard]] bool findSites();
    void endWithoutSites();
    [[nodiscard]] bool waitForTurn();
    void searchSites();
    void trySites();
    [[nodiscard]] NextStep attempt(CdnInfo& site, const Sites& sites);
    [[nodiscard]] bool beginAttempt(CdnInfo& site) const;
    void post(const CdnInfo& site);
    void logReply(const AttemptOutcome& outcome) const;
    void eject(CdnInfo& site, bool byNetworkError) const;

    CrptClient& m_client;
    const QHash<QString, QString>& m_headers;
    const QJsonDocument& m_body;
    const std::chrono::milliseconds m_operationTimeout;
    const std::chrono::milliseconds m_requestTimeout;

    std::unique_lock<FairMutex> m_turn;        ///< of the client's cdnMutex
    std::optional<Deadline> m_budget;          ///< runs from the first wait for the turn
    std::chrono::nanoseconds m_searchTime{0};  ///< what searches off the budget have taken
    std::optional<CrptClient::UpdateInfoStatus> m_listUpdate;
    bool m_isRetrySpent = false;
    http::Response m_response;
};
