#include "tests/doubles/scriptedclient.h"

#include <algorithm>
#include <utility>

ScriptedClient::ScriptedClient()
{
    MockFactory<RestClient>::mocked = this;
}

ScriptedClient::~ScriptedClient()
{
    MockFactory<RestClient>::mocked = nullptr;
}

void ScriptedClient::script(const QString& address, std::vector<Answer> answers)
{
    std::reverse(answers.begin(), answers.end());
    const std::lock_guard lock(m_mutex);
    m_scripts[address] = std::move(answers);
}

std::vector<SentRequest> ScriptedClient::take()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_sent, {});
}

void ScriptedClient::setTimeout(std::chrono::milliseconds timeout)
{
    m_timeout.store(timeout, std::memory_order_relaxed);
}

void ScriptedClient::setDeadline(const QDeadlineTimer& deadline)
{
    m_left.store(deadline.isForever()
                     ? std::chrono::milliseconds::max()
                     : std::chrono::ceil<std::chrono::milliseconds>(deadline.remainingTimeAsDuration()),
                 std::memory_order_relaxed);
}

void ScriptedClient::setLogger(const Log4Qt::Logger* logger)
{
    m_logger.store(logger, std::memory_order_relaxed);
    m_clientsSetUp.fetch_add(1, std::memory_order_relaxed);
    if (onSetUp) {
        onSetUp();
    }
}

void ScriptedClient::setTargetAlias(const QString& alias)
{
    const std::lock_guard lock(m_mutex);
    m_alias = alias;
}

http::Response ScriptedClient::get(const QUrl& url, const QJsonDocument& body, const Headers& headers)
{
    return exchange("GET", url, body, headers);
}

http::Response ScriptedClient::post(const QUrl& url, const QJsonDocument& body, const Headers& headers)
{
    return exchange("POST", url, body, headers);
}

http::Response ScriptedClient::exchange(const char* method, const QUrl& url, const QJsonDocument& body,
                                        const Headers& headers)
{
    SentRequest request{method,
                        url,
                        headers,
                        body.isEmpty() ? QByteArray() : body.toJson(QJsonDocument::Compact),
                        m_timeout.load(std::memory_order_relaxed),
                        m_left.load(std::memory_order_relaxed),
                        m_logger.load(std::memory_order_relaxed),
                        {}};
    Answer answer;
    {
        const std::lock_guard lock(m_mutex);
        request.alias = m_alias;
        m_sent.push_back(request);
        answer = answerTo(url);
    }
    http::Response response = answer(request);  // may take its time, or make requests of its own
    m_lastError.store(int(response.networkError()), std::memory_order_relaxed);
    return response;
}

ScriptedClient::Answer ScriptedClient::answerTo(const QUrl& url)
{
    const auto script = m_scripts.find(url.host() + url.path());
    if (script == m_scripts.end()) {
        return [](const SentRequest&) { return cutOff(); };
    }
    std::vector<Answer>& answers = script->second;
    Answer next = answers.back();
    if (answers.size() > 1) {
        answers.pop_back();
    }
    return next;
}

http::Response reply(int status, const QJsonObject& body)
{
    http::Response response;
    response.setStatus(status);
    response.setBody(body.isEmpty() ? QByteArray() : QJsonDocument(body).toJson());
    response.setNetworkError(http::networkErrorOfStatus(status));
    return response;
}

http::Response timedOut()
{
    http::Response response;
    response.setTimeout(true);
    response.setNetworkError(http::NetworkError::Timeout);
    return response;
}

http::Response cutOff()
{
    http::Response response;
    response.setNetworkError(true);
    response.setNetworkError(http::NetworkError::ConnectionRefused);
    return response;
}

http::Response canceledHere()
{
    http::Response response;
    response.setNetworkError(true);
    response.setNetworkError(http::NetworkError::OperationCanceled);
    return response;
}
