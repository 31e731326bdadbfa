#include "tests/doubles/scriptedclient.h"

#include <algorithm>
#include <utility>

namespace {
std::atomic<int> created = 0;
}

ScriptedClient::ScriptedClient()
    : m_number(++created)
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

ScriptedClient::PerThread& ScriptedClient::own() const
{
    static thread_local PerThread mine;
    if (mine.owner != m_number) {
        mine = {m_number, {}, {}};
    }
    return mine;
}

void ScriptedClient::setTimeout(int seconds)
{
    setTimeout(std::chrono::milliseconds(std::chrono::seconds(seconds)));
}

void ScriptedClient::setTimeout(std::chrono::milliseconds timeout)
{
    own().settings.timeout = timeout;
    own().settings.deadline = QDeadlineTimer(QDeadlineTimer::Forever);
}

void ScriptedClient::setDeadline(const QDeadlineTimer& deadline)
{
    own().settings.timeout = {};
    own().settings.deadline = deadline;
}

void ScriptedClient::setTargetAlias(const QString& alias)
{
    own().settings.alias = alias;
}

void ScriptedClient::setLogger(const Log4Qt::Logger* logger)
{
    own().settings.logger = logger;
    ++m_clientsSetUp;
}

http::Response ScriptedClient::get(const QUrl& url, const QJsonDocument& body,
                                   const QHash<QString, QString>& headers)
{
    return exchange("GET", url, body, headers);
}

http::Response ScriptedClient::post(const QUrl& url, const QJsonDocument& body,
                                    const QHash<QString, QString>& headers)
{
    return exchange("POST", url, body, headers);
}

http::Response ScriptedClient::lastResponse() const
{
    return own().last;
}

int ScriptedClient::lastError() const
{
    return static_cast<int>(lastResponse().networkError());
}

http::Response ScriptedClient::exchange(const QString& method, const QUrl& url, const QJsonDocument& body,
                                        const QHash<QString, QString>& headers)
{
    SentRequest request = own().settings;
    request.method = method;
    request.url = url;
    request.headers = headers;
    request.body = body.isEmpty() ? QByteArray() : body.toJson(QJsonDocument::Compact);
    Answer answer;
    {
        const std::lock_guard lock(m_mutex);
        m_sent.push_back(request);
        answer = answerTo(url);
    }
    http::Response response = answer(request);  // may take its time, or make requests of its own
    own().last = response;
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

http::Response timedOut(int status)
{
    http::Response response;
    response.setStatus(status);
    response.setTimeout(true);
    response.setNetworkError(http::NetworkError::Timeout);
    return response;
}

http::Response cutOff(int status)
{
    http::Response response;
    response.setStatus(status);
    response.setNetworkError(true);
    response.setNetworkError(http::NetworkError::ConnectionRefused);
    return response;
}
