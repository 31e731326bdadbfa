#include "crpt/crptclient.h"

#include <algorithm>
#include <optional>

#include <QDeadlineTimer>
#include <QScopeGuard>

#include "crpt/requeststatus.h"
#include <log4qt/logger.h>
#include <utils/currenttime.h>

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

namespace {

constexpr seconds Quarantine = std::chrono::minutes(15);
constexpr milliseconds UpdatePause(100);
constexpr nanoseconds Never = nanoseconds::max();

nanoseconds deadlineAfter(nanoseconds now, milliseconds limit)
{
    constexpr milliseconds longest = std::chrono::hours(24 * 365 * 100);
    return limit > longest ? Never : now + limit;
}

QDeadlineTimer toTimer(nanoseconds deadline)
{
    if (deadline == Never) {
        return QDeadlineTimer(QDeadlineTimer::Forever);
    }
    QDeadlineTimer timer;
    const auto whole = std::chrono::floor<seconds>(deadline);
    timer.setPreciseDeadline(whole.count(), (deadline - whole).count(), Qt::PreciseTimer);
    return timer;
}

}  // namespace

/// One call of request(): the way from site to site.
class CrptClient::Walk
{
public:
    Walk(CrptClient& client, const QHash<QString, QString>& headers, const QJsonDocument& body,
         milliseconds operationTimeout, milliseconds requestTimeout)
        : m_client(client)
        , m_headers(headers)
        , m_body(body)
        , m_operationTimeout(operationTimeout)
        , m_requestTimeout(requestTimeout)
    {
    }

    /// The whole call.
    http::Response run();

private:
    enum class Next { SameSite, NextSite, FirstSite, Stop };

    void findReply();
    bool findSites();
    void updateSites();
    void walk();
    Next visit(CdnInfo& site);
    Next judge(CdnInfo& site);
    Next retryCrossBorder();
    Next leave(CdnInfo& site, bool networkError);
    Next searchAgain();
    Next stop(http::ErrorKind kind);
    void ask(CdnInfo& site);
    /// Whether this call was made from within a walk or an update, which cannot go on while it waits.
    [[nodiscard]] bool isNested() const { return m_client.walkDepth > 1 || updatesHere > 0; }
    [[nodiscard]] bool isBudgetSpent() const { return m_clock->monotonic() >= m_deadline; }

    CrptClient& m_client;
    const QHash<QString, QString>& m_headers;
    const QJsonDocument& m_body;
    const milliseconds m_operationTimeout;
    const milliseconds m_requestTimeout;

    const QSharedPointer<CurrentTime> m_clock = MockFactory<CurrentTime>::create();
    nanoseconds m_deadline = Never;
    std::unique_lock<std::recursive_mutex> m_cdnLock;
    std::optional<UpdateInfoStatus> m_updateStatus;  // of the last list update that this call asked for
    bool m_crossBorderRetried = false;
    bool m_tokenRefused = false;
    http::Response m_response;
};

http::Response CrptClient::request(const QHash<QString, QString>& headers, const QJsonDocument& body,
                                   milliseconds operationTimeout, milliseconds requestTimeout)
{
    waitForStart(operationTimeout);
    return Walk(*this, headers, body, operationTimeout, requestTimeout).run();
}

bool CrptClient::hasAvailableSite() const
{
    const std::lock_guard lock(recordsMutex);
    return cdnInfos.hasAvailable();
}

http::ErrorKind CrptClient::kindWithoutSites() const
{
    const std::lock_guard lock(recordsMutex);
    return cdnInfos.hasNetworkError() ? http::ErrorKind::Unreachable : http::ErrorKind::SalePermitted;
}

bool CrptClient::isSearchHeldBack() const
{
    if (updateInfoInterval <= 0) {
        return false;
    }
    const auto now = MockFactory<CurrentTime>::create()->monotonic();
    const std::lock_guard lock(stateMutex);
    return now - lastRefreshTime < seconds(updateInfoInterval);
}

/// Keeps what the operator said to the last search, and when that was.
void CrptClient::noteFailedSearch(http::Response& response)
{
    const auto now = MockFactory<CurrentTime>::create()->monotonic();
    const std::lock_guard lock(stateMutex);
    if (requestStates.isEmpty()) {
        return;
    }
    const RequestState& state = requestStates.first();
    response.setStatus(state.status);
    response.setBody(state.body);
    response.setUrl(state.url);
    response.setErrorText(state.errorText);
    lastRefreshTime = now;
}

http::Response CrptClient::Walk::run()
{
    findReply();
    if (m_tokenRefused) {
        // After the locks are let go: a listener of the notice may wait for a thread that wants a check.
        m_client.notifyIncorrectToken();
    }
    return m_response;
}

void CrptClient::Walk::findReply()
{
    const auto begin = m_clock->monotonic();
    const std::lock_guard walkLock(m_client.walkMutex);
    const auto waited = m_clock->monotonic() - begin;
    ++m_client.walkDepth;
    const auto atTheEnd = qScopeGuard([this] { --m_client.walkDepth; });
    if (findSites()) {
        // The wait for somebody else's walk is part of the budget, the search for sites is not.
        m_deadline = deadlineAfter(m_clock->monotonic() - waited, m_operationTimeout);
        m_cdnLock = std::unique_lock(m_client.cdnMutex);
        walk();
        m_cdnLock.unlock();
    }
}

/// Whether there is a site to begin with, after a list update where that is needed and allowed.
bool CrptClient::Walk::findSites()
{
    if (m_client.hasAvailableSite()) {
        return true;
    }
    if (m_client.isSearchHeldBack()) {
        m_response.setErrorKind(m_client.kindWithoutSites());
        return false;
    }
    updateSites();
    if (m_client.hasAvailableSite()) {
        return true;
    }
    m_client.noteFailedSearch(m_response);
    m_client.logger->warn(QStringLiteral("Нет доступных площадок после обновления списка"));
    m_response.setErrorKind(m_client.kindWithoutSites());
    return false;
}

/// Fetches the list, or waits for another thread's update of it. That update takes cdnMutex to install its
/// list, so a walk lets go of it while it waits.
void CrptClient::Walk::updateSites()
{
    m_client.logger->warn(QStringLiteral("Нет доступных площадок, пытаемся обновить список площадок"));
    while (!m_client.hasAvailableSite()) {
        m_updateStatus = m_client.updateInfo();
        if (m_updateStatus != UpdateInfoStatus::AlreadyRunning || isNested()) {
            return;
        }
        const bool walking = m_cdnLock.owns_lock();
        if (walking) {
            m_cdnLock.unlock();
        }
        m_clock->sleepFor(UpdatePause);
        if (walking) {
            m_cdnLock.lock();
        }
    }
}

void CrptClient::Walk::walk()
{
    CDNInfos sites = m_client.cdnInfos;
    for (qsizetype i = 0; i < sites.size();) {
        switch (visit(*sites.at(i))) {
        case Next::SameSite:
            break;
        case Next::NextSite:
            ++i;
            break;
        case Next::FirstSite:
            sites = m_client.cdnInfos;
            i = 0;
            break;
        case Next::Stop:
            return;
        }
    }
}

CrptClient::Walk::Next CrptClient::Walk::visit(CdnInfo& site)
{
    {
        const std::lock_guard lock(m_client.recordsMutex);
        if (!site.isAvailable()) {
            return Next::NextSite;
        }
        site.available = true;
        site.networkError = false;
    }
    ask(site);
    return judge(site);
}

void CrptClient::Walk::ask(CdnInfo& site)
{
    const auto client = m_client.standingClient();
    client->setTargetAlias(QStringLiteral("серверу честного знака для проверки маркировки"));
    client->setDeadline(toTimer(std::min(deadlineAfter(m_clock->monotonic(), m_requestTimeout), m_deadline)));
    m_response = client->post(site.checkUrl, m_body, m_headers);
    m_response.setUrl(site.checkUrl);
}

CrptClient::Walk::Next CrptClient::Walk::judge(CdnInfo& site)
{
    const auto* log = m_client.logger;
    switch (requestStatusForWalk(m_response)) {
    case RequestStatus::Ok:
    case RequestStatus::Failed:
        return Next::Stop;
    case RequestStatus::CrossBorderUnavailable:
        return retryCrossBorder();
    case RequestStatus::Emergency:
        log->warn(QStringLiteral("В ГИС МТ введена аварийная ситуация, запрет на продажу отключен"));
        return stop(http::ErrorKind::SalePermitted);
    case RequestStatus::IncorrectToken:
        m_tokenRefused = true;
        return Next::Stop;
    case RequestStatus::ProtocolError:
        log->error(QStringLiteral("Ошибка протокола"));
        return Next::Stop;
    case RequestStatus::Timeout:
        if (isBudgetSpent()) {
            log->warn(QStringLiteral("Суммарное время ожидания ответа от сервера превысило %1 мсек."),
                      qint64(m_operationTimeout.count()));
            return stop(http::ErrorKind::SalePermitted);
        }
        return leave(site, false);
    case RequestStatus::ServerError:
        return leave(site, false);
    case RequestStatus::NetworkError:
        return leave(site, true);
    }
    return Next::Stop;
}

CrptClient::Walk::Next CrptClient::Walk::retryCrossBorder()
{
    if (!m_crossBorderRetried) {
        m_crossBorderRetried = true;
        m_client.logger->info(
            QStringLiteral("Сервис трансграничной проверки кодов недоступен, повторный запрос"));
        return Next::SameSite;
    }
    m_client.logger->warn(
        QStringLiteral("Сервис трансграничной проверки кодов недоступен, добавление товара разрешено"));
    return stop(http::ErrorKind::SalePermitted);
}

CrptClient::Walk::Next CrptClient::Walk::leave(CdnInfo& site, bool networkError)
{
    {
        const std::lock_guard lock(m_client.recordsMutex);
        site.markAsUnavailable(m_clock->currentDateTime().addSecs(Quarantine.count()), networkError);
    }
    m_client.logger->info(QStringLiteral("Площадка %1 помечена как недоступная на 15 минут"), site.host);
    m_client.logger->info(QStringLiteral("Переключение на следующую CDN-площадку"));
    return m_client.hasAvailableSite() ? Next::NextSite : searchAgain();
}

CrptClient::Walk::Next CrptClient::Walk::searchAgain()
{
    if (m_updateStatus == UpdateInfoStatus::NoKeys) {
        m_client.logger->warn(
            QStringLiteral("Токен для проверки доступных площадок не задан. Товар не будет добавлен"));
        return stop(http::ErrorKind::NoToken);
    }
    if (m_updateStatus != UpdateInfoStatus::Finished) {
        updateSites();
    }
    if (m_client.hasAvailableSite()) {
        return Next::FirstSite;
    }
    m_client.logger->warn(QStringLiteral("Нет доступных площадок после обновления списка"));
    return stop(m_client.kindWithoutSites());
}

CrptClient::Walk::Next CrptClient::Walk::stop(http::ErrorKind kind)
{
    m_response.setErrorKind(kind);
    return Next::Stop;
}

int CrptClient::getRequestStatus(const http::Response& response)
{
    return static_cast<int>(requestStatusOf(response));
}
