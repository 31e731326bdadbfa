#include <network/restclient.h>

#include <limits>
#include <mutex>
#include <optional>

#include <config/config.h>
#include <log4qt/logger.h>
#include <network/cancellation.h>
#include <network/exchange.h>
#include <network/requesturl.h>
#include <utils/observerslot.h>

template class MockFactory<RestClient>;

namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

constexpr milliseconds DefaultLimit = 30s;
constexpr int LeastStatusOfFailure = 400;
constexpr int DefaultMaxReplyBytes = 16 * 1024 * 1024;

Exchange::Settings configured()
{
    const Config& config = *Singleton<Config>::instance();
    const int maxReplyBytes = config.getInt(QStringLiteral("Network:maxReplyBytes"), DefaultMaxReplyBytes);
    return {.caFile = config.getString(QStringLiteral("Network:caFile")),
            .proxy = config.getString(QStringLiteral("Network:proxy")),
            .maxReplyBytes = size_t(maxReplyBytes > 0 ? maxReplyBytes : DefaultMaxReplyBytes)};
}

/// What is left until `deadline`, rounded up, so that a time-out never comes before it; zero or less when it
/// has passed.
milliseconds remaining(const QDeadlineTimer& deadline)
{
    return std::chrono::ceil<milliseconds>(deadline.remainingTimeAsDuration());
}

/// Never destroyed: requests may be made until the process is gone.
ObserverSlot<http::ExchangeRecord>& exchangeObserver()
{
    static auto* const slot = new ObserverSlot<http::ExchangeRecord>;
    return *slot;
}

}  // namespace

struct RestClient::State
{
    /// Held through a request: one at a time.
    std::mutex requestMutex;
    Exchange exchange{configured()};

    milliseconds timeout = DefaultLimit;
    std::optional<QDeadlineTimer> deadline;
    QString alias;
    const Log4Qt::Logger* logger = nullptr;

    /// Taken after requestMutex where both are.
    mutable std::mutex lastMutex;
    http::Response last;

    RequestUrl requestUrl;

    http::Response request(bool post, const QUrl& url, const QJsonDocument& body,
                           const QHash<QString, QString>& headers);

private:
    [[nodiscard]] std::optional<milliseconds> limit() const;
    [[nodiscard]] bool isLogged(Log4Qt::Level level) const { return logger && logger->isEnabledFor(level); }
    [[nodiscard]] Exchange::Result run(bool post, const QUrl& url, const QJsonDocument& body,
                                       const QHash<QString, QString>& headers, bool watched);
    [[nodiscard]] http::Response responseOf(const QUrl& url, Exchange::Result& result) const;
    void log(bool post, const http::Response& response, const QString& detail, milliseconds duration) const;
};

/// How long the exchange may take, zero for without limit; nothing when it must not even begin.
std::optional<milliseconds> RestClient::State::limit() const
{
    if (!deadline) {
        return timeout > 0ms ? timeout : DefaultLimit;
    }
    if (deadline->isForever()) {
        return 0ms;
    }
    const milliseconds left = remaining(*deadline);
    return left > 0ms ? std::optional(left) : std::nullopt;
}

http::Response RestClient::State::request(bool post, const QUrl& url, const QJsonDocument& body,
                                          const QHash<QString, QString>& headers)
{
    std::unique_lock lock(requestMutex);
    http::ExchangeRecord record{.post = post, .begin = std::chrono::steady_clock::now()};
    const bool watched = exchangeObserver().isSet();
    Exchange::Result result = run(post, url, body, headers, watched);
    record.response = responseOf(url, result);
    record.duration = std::chrono::steady_clock::now() - record.begin;
    log(post, record.response, result.detail, std::chrono::duration_cast<milliseconds>(record.duration));
    {
        const std::lock_guard lastLock(lastMutex);
        last = record.response;
    }
    lock.unlock();  // an observer may use the client
    if (watched) {
        record.transport = result.transport;
        exchangeObserver().tell(record);
    }
    return std::move(record.response);
}

Exchange::Result RestClient::State::run(bool post, const QUrl& url, const QJsonDocument& body,
                                        const QHash<QString, QString>& headers, bool watched)
{
    if (!requestUrl.set(url)) {
        return {.failure = Failure::BadUrl};
    }
    const auto allowed = limit();
    if (!allowed) {
        return {.failure = Failure::Timeout};
    }
    return exchange.run({.post = post,
                         .url = requestUrl.handle(),
                         .body = body.isEmpty() ? QByteArray() : body.toJson(QJsonDocument::Compact),
                         .headers = headers,
                         .limit = *allowed,
                         .detailed = watched || isLogged(Log4Qt::Level::Warn),
                         .watched = watched});
}

http::Response RestClient::State::responseOf(const QUrl& url, Exchange::Result& result) const
{
    const QString target = alias.isEmpty() ? url.host() : alias;
    http::Response response;
    response.setUrl(url);
    response.setStatus(result.status);
    response.setBody(result.body);
    response.setTimeout(result.failure == Failure::Timeout);
    response.setNetworkError(result.failure != Failure::None && result.failure != Failure::Timeout);
    if (result.failure != Failure::None) {
        response.setNetworkError(networkErrorOf(result.failure));
        response.setErrorText(textOf(result.failure, target));
    } else if (result.status >= LeastStatusOfFailure) {
        response.setNetworkError(http::networkErrorOfStatus(result.status));
        response.setErrorText(textOfStatus(result.status, target));
    }
    return response;
}

void RestClient::State::log(bool post, const http::Response& response, const QString& detail,
                            milliseconds duration) const
{
    const bool failed = response.networkError() != http::NetworkError::None;
    if (!isLogged(failed ? Log4Qt::Level::Warn : Log4Qt::Level::Debug)) {
        return;
    }
    const QString method = post ? QStringLiteral("POST") : QStringLiteral("GET");
    const QString url = response.url().toDisplayString(QUrl::RemoveUserInfo);
    const auto time = qlonglong(duration.count());
    if (!failed) {
        logger->debug(QStringLiteral("%1 %2: %3, %4 мс"), method, url, response.status(), time);
        return;
    }
    const QString text = detail.isEmpty() ? response.errorText().ru()
                                          : QStringLiteral("%1 (%2)").arg(response.errorText().ru(), detail);
    logger->warn(QStringLiteral("%1 %2: %3, %4 мс. %5"), method, url, response.status(), time, text);
}

RestClient::RestClient()
    : m_state(std::make_unique<State>())
{
}

RestClient::~RestClient() = default;

void RestClient::setTimeout(int seconds)
{
    setTimeout(milliseconds(std::chrono::seconds(seconds)));
}

void RestClient::setTimeout(milliseconds timeout)
{
    m_state->timeout = timeout;
    m_state->deadline.reset();
}

void RestClient::setDeadline(const QDeadlineTimer& deadline)
{
    m_state->deadline = deadline;
}

void RestClient::setTargetAlias(const QString& alias)
{
    m_state->alias = alias;
}

void RestClient::setLogger(const Log4Qt::Logger* logger)
{
    m_state->logger = logger;
}

http::Response RestClient::get(const QUrl& url, const QJsonDocument& body,
                               const QHash<QString, QString>& headers)
{
    return m_state->request(false, url, body, headers);
}

http::Response RestClient::post(const QUrl& url, const QJsonDocument& body,
                                const QHash<QString, QString>& headers)
{
    return m_state->request(true, url, body, headers);
}

http::Response RestClient::request(const QUrl& url, const QJsonDocument& body,
                                   const QHash<QString, QString>& headers)
{
    return body.isEmpty() ? get(url, body, headers) : post(url, body, headers);
}

http::Response RestClient::lastResponse() const
{
    const std::lock_guard lock(m_state->lastMutex);
    return m_state->last;
}

int RestClient::lastError() const
{
    return int(lastResponse().networkError());
}

void RestClient::setExchangeObserver(std::function<void(const http::ExchangeRecord&)> observer)
{
    exchangeObserver().set(std::move(observer));
}

void RestClient::cancelAll(bool cancel)
{
    Cancellation::instance().set(cancel);
}
