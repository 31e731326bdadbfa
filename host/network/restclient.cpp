#include <network/restclient.h>

#include <atomic>
#include <limits>
#include <mutex>
#include <optional>

#include <config/config.h>
#include <log4qt/logger.h>
#include <network/cancellation.h>
#include <network/exchange.h>
#include <network/messages.h>
#include <utils/observerslot.h>

template class MockFactory<RestClient>;

namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

constexpr milliseconds defaultTimeout = 30s;
constexpr milliseconds maxTimeout(std::numeric_limits<int>::max());
constexpr int defaultMaxReplyBytes = 16 * 1024 * 1024;

QString configured(const QString& key)
{
    return Singleton<Config>::instance()->getString(key);
}

size_t configuredMaxReplyBytes()
{
    const int bytes =
        Singleton<Config>::instance()->getInt(QStringLiteral("Network:maxReplyBytes"), defaultMaxReplyBytes);
    return size_t(bytes > 0 ? bytes : defaultMaxReplyBytes);
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
    Connections connections{configured(QStringLiteral("Network:caFile")),
                            configured(QStringLiteral("Network:proxy"))};
    const size_t maxReplyBytes = configuredMaxReplyBytes();

    milliseconds timeout = defaultTimeout;
    std::optional<QDeadlineTimer> deadline;
    QString alias;
    const Log4Qt::Logger* logger = nullptr;
    std::atomic<http::NetworkError> lastError = http::NetworkError::None;

    http::Response request(bool post, const QUrl& url, const QJsonDocument& body,
                           const QHash<QString, QString>& headers);

private:
    void log(const http::ExchangeRecord& record) const;
};

http::Response RestClient::State::request(bool post, const QUrl& url, const QJsonDocument& body,
                                          const QHash<QString, QString>& headers)
{
    std::unique_lock lock(requestMutex);
    const bool watched = exchangeObserver().isSet();
    Exchange exchange(connections,
                      {.post = post,
                       .url = url,
                       .target = alias.isEmpty() ? url.host() : alias,
                       .body = body.isEmpty() ? QByteArray() : body.toJson(QJsonDocument::Compact),
                       .headers = headers,
                       .deadline = deadline.value_or(QDeadlineTimer(timeout)),
                       .maxReplyBytes = maxReplyBytes,
                       .watched = watched});
    http::ExchangeRecord record = exchange.run();
    lastError = record.response.networkError();
    log(record);
    lock.unlock();  // an observer may use the client
    if (watched) {
        exchangeObserver().tell(record);
    }
    return std::move(record.response);
}

void RestClient::State::log(const http::ExchangeRecord& record) const
{
    const http::Response& response = record.response;
    const bool failed = response.networkError() != http::NetworkError::None;
    if (logger == nullptr || !logger->isEnabledFor(failed ? Log4Qt::Level::Warn : Log4Qt::Level::Debug)) {
        return;
    }
    const auto took = std::chrono::duration_cast<milliseconds>(record.duration);
    QString line = http::messages::exchange.arg(
        record.post ? u"POST" : u"GET", response.url().toDisplayString(QUrl::RemoveUserInfo),
        QString::number(response.status()), QString::number(took.count()));
    if (!failed) {
        logger->debug(line);
        return;
    }
    line += QStringLiteral(". ") + response.errorText().ru();
    const QString& detail = record.transport.detail;
    logger->warn(detail.isEmpty() ? line : line + QStringLiteral(" (%1)").arg(detail));
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
    m_state->timeout = timeout > 0ms ? std::min(timeout, maxTimeout) : defaultTimeout;
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

int RestClient::lastError() const
{
    return int(m_state->lastError.load());
}

void RestClient::setExchangeObserver(std::function<void(const http::ExchangeRecord&)> observer)
{
    exchangeObserver().set(std::move(observer));
}

void RestClient::cancelAll(bool cancel)
{
    cancelExchanges(cancel);
}
