#include "crpt/failover.h"

#include <algorithm>

#include "crpt/messages.h"
#include <log4qt/logger.h>
#include <utils/currenttime.h>

using std::chrono::milliseconds;
using UpdateStatus = CrptClient::UpdateInfoStatus;
namespace messages = crpt::messages;

namespace {

NextStep stepWithoutSite(std::optional<UpdateStatus> listUpdate)
{
    if (listUpdate == UpdateStatus::NoKeys) {
        return NextStep::NoToken;
    }
    return listUpdate == UpdateStatus::Finished ? NextStep::TryFirstSite : NextStep::FetchList;
}

}  // namespace

NextStep nextStep(const AttemptOutcome& outcome)
{
    switch (outcome.reply) {
    case RequestStatus::Ok:
    case RequestStatus::Failed:
    case RequestStatus::IncorrectToken:
    case RequestStatus::ProtocolError:
        return NextStep::TakeReply;
    case RequestStatus::Emergency:
        return NextStep::PermitSale;
    case RequestStatus::CrossBorderUnavailable:
        return outcome.isRetrySpent ? NextStep::PermitSale : NextStep::RetrySite;
    case RequestStatus::Timeout:
        if (outcome.isBudgetSpent) {
            return NextStep::PermitSale;
        }
        break;
    case RequestStatus::NetworkError:
        if (outcome.isCausedHere) {
            return outcome.hasReplyBegun && outcome.hasAnotherSite ? NextStep::SkipSite : NextStep::TakeReply;
        }
        break;
    case RequestStatus::ServerError:
        break;
    }
    return outcome.hasAnotherSite ? NextStep::NextSite : stepWithoutSite(outcome.listUpdate);
}

Failover::Failover(CrptClient& client, const QHash<QString, QString>& headers, const QJsonDocument& body,
                   milliseconds operationTimeout, milliseconds requestTimeout)
    : m_client(client)
    , m_headers(headers)
    , m_body(body)
    , m_operationTimeout(operationTimeout)
    , m_requestTimeout(requestTimeout)
    , m_turn(client.cdnMutex, std::defer_lock)
{
}

http::Response Failover::run()
{
    // A site that was there may be gone when the turn comes: then another one is searched for, off the
    // budget.
    while (findSites() && waitForTurn()) {
        const bool isSiteThere = m_client.hasAvailableSite();
        if (isSiteThere) {
            trySites();
        }
        m_turn.unlock();
        if (isSiteThere) {
            break;
        }
    }
    return m_response;
}

/// Whether there is a site to begin with, after a list update where that is needed and allowed.
bool Failover::findSites()
{
    if (m_client.hasAvailableSite()) {
        return true;
    }
    if (m_client.isSearchHeldBack()) {
        m_response.setErrorKind(m_client.kindWithoutSites());
        return false;
    }
    if (m_searchTime < CrptClient::maxUpdateTime) {
        const auto clock = MockFactory<CurrentTime>::create();
        const auto begin = clock->monotonic();
        searchSites();
        const auto taken = clock->monotonic() - begin;
        m_searchTime += taken;
        if (m_budget) {
            m_budget->postpone(taken);
        }
    }
    if (m_client.hasAvailableSite()) {
        return true;
    }
    m_client.noteFailedSearch(m_response);
    endWithoutSites();
    return false;
}

void Failover::endWithoutSites()
{
    m_client.logger->warn(messages::noSites);
    m_response.setErrorKind(m_client.kindWithoutSites());
}

/// Whether the turn has come within the budget.
bool Failover::waitForTurn()
{
    if (!m_budget) {
        m_budget = Deadline::in(m_operationTimeout);
    }
    if (m_turn.try_lock_for(m_budget->remaining())) {
        return true;
    }
    m_client.logger->warn(messages::budgetSpent, qint64(m_operationTimeout.count()));
    m_response.setTimeout(true);
    m_response.setErrorKind(http::ErrorKind::SalePermitted);
    return false;
}

/// Fetches the list; before that waits, as long as one update may take, for other threads that do so.
void Failover::searchSites()
{
    constexpr milliseconds pause(100);
    m_client.logger->warn(messages::searchBegins);
    const auto limit = Deadline::in(CrptClient::maxUpdateTime);
    while (!m_client.hasAvailableSite()) {
        m_listUpdate = m_client.updateInfo();
        if (m_listUpdate != UpdateStatus::AlreadyRunning || limit.hasPassed()) {
            return;
        }
        MockFactory<CurrentTime>::create()->sleepFor(pause);
    }
}

void Failover::trySites()
{
    Sites sites = m_client.siteList();
    for (qsizetype i = 0; i < sites.size();) {
        if (!beginAttempt(*sites.at(i))) {
            ++i;
            continue;
        }
        switch (attempt(*sites.at(i), sites)) {
        case NextStep::TakeReply:
            return;
        case NextStep::PermitSale:
            m_response.setErrorKind(http::ErrorKind::SalePermitted);
            return;
        case NextStep::RetrySite:
            m_isRetrySpent = true;
            break;
        case NextStep::SkipSite:
        case NextStep::NextSite:
            ++i;
            break;
        case NextStep::FetchList:
            searchSites();
            [[fallthrough]];
        case NextStep::TryFirstSite:
            if (!m_client.hasAvailableSite()) {
                endWithoutSites();
                return;
            }
            sites = m_client.siteList();
            i = 0;
            break;
        case NextStep::NoToken:
            m_client.logger->warn(messages::noToken);
            m_response.setErrorKind(http::ErrorKind::NoToken);
            return;
        }
    }
}

/// False for a site in quarantine. One whose quarantine is over is back in service.
bool Failover::beginAttempt(CdnInfo& site) const
{
    const QMutexLocker lock(&m_client.stateMutex);
    if (!site.isAvailable()) {
        return false;
    }
    site.available = true;
    site.networkError = false;
    return true;
}

NextStep Failover::attempt(CdnInfo& site, const Sites& sites)
{
    post(site);
    AttemptOutcome outcome{
        .reply = requestStatusOf(m_response),
        .isCausedHere = m_response.networkError() == http::NetworkError::OperationCanceled,
        .hasReplyBegun = m_response.status() != 0,
        .isRetrySpent = m_isRetrySpent,
        .isBudgetSpent = m_budget->hasPassed(),
        .hasAnotherSite = m_client.hasAvailableSite(sites, &site),
        .listUpdate = m_listUpdate,
    };
    logReply(outcome);
    const NextStep step = nextStep(outcome);
    if (step >= NextStep::NextSite) {
        eject(site, outcome.reply == RequestStatus::NetworkError);
    }
    return step;
}

void Failover::post(const CdnInfo& site)
{
    const auto client = m_client.standingClient();
    const QUrl url = m_client.getUrl(site.host, CdnMethod::CodesCheck);
    client->setTargetAlias(QStringLiteral("серверу честного знака для проверки маркировки"));
    client->setDeadline(std::min(Deadline::in(m_requestTimeout), *m_budget).timer());
    m_response = client->post(url, m_body, m_headers);
    m_response.setUrl(url);
}

/// What is to be said of a reply, whatever is done next.
void Failover::logReply(const AttemptOutcome& outcome) const
{
    const auto* log = m_client.logger;
    switch (outcome.reply) {
    case RequestStatus::CrossBorderUnavailable:
        if (outcome.isRetrySpent) {
            log->warn(messages::crossBorderPermitted);
        } else {
            log->info(messages::crossBorderRetry);
        }
        break;
    case RequestStatus::Emergency:
        log->warn(messages::emergency);
        break;
    case RequestStatus::IncorrectToken:
        m_client.notifyIncorrectToken();
        break;
    case RequestStatus::ProtocolError:
        log->error(messages::protocolError);
        break;
    case RequestStatus::Timeout:
        if (outcome.isBudgetSpent) {
            log->warn(messages::budgetSpent, qint64(m_operationTimeout.count()));
        }
        break;
    default:
        break;
    }
}

void Failover::eject(CdnInfo& site, bool byNetworkError) const
{
    const auto now = MockFactory<CurrentTime>::create()->currentDateTime();
    {
        const QMutexLocker lock(&m_client.stateMutex);
        site.markAsUnavailable(now.addMSecs(milliseconds(quarantinePeriod).count()), byNetworkError);
    }
    m_client.logger->info(messages::quarantined, site.host, int(quarantinePeriod.count()));
    m_client.logger->info(messages::nextSite);
}
