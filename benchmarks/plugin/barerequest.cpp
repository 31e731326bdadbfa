#include "benchmarks/plugin/barerequest.h"

#include <algorithm>
#include <stdexcept>

namespace bench {

namespace {

constexpr long OkStatus = 200;

size_t drop(char* /*data*/, size_t size, size_t count, void* /*nobody*/)
{
    return size * count;
}

}  // namespace

BareClient::BareClient()
    : m_handle(curl_easy_init())
{
    for (const char* header : {"Content-Type: application/json", "Accept: application/json",
                               "Connection: keep-alive", "X-API-KEY: c5a1f0de-7b42-4e8a-9d3f-000000000001"}) {
        m_headers = curl_slist_append(m_headers, header);
    }
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
    curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, drop);
    curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_handle, CURLOPT_TIMEOUT, 60L);
}

BareClient::~BareClient()
{
    curl_easy_cleanup(m_handle);
    curl_slist_free_all(m_headers);
}

void BareClient::post(const QString& url, const QByteArray& body)
{
    curl_easy_setopt(m_handle, CURLOPT_URL, url.toUtf8().constData());
    setBody(body);
    perform();
}

void BareClient::get(const QString& url)
{
    curl_easy_setopt(m_handle, CURLOPT_URL, url.toUtf8().constData());
    curl_easy_setopt(m_handle, CURLOPT_HTTPGET, 1L);
    perform();
}

void BareClient::walk(const std::vector<QByteArray>& urls, const QByteArray& body)
{
    setBody(body);
    const bool answered = std::any_of(urls.begin(), urls.end(), [&](const QByteArray& url) {
        curl_easy_setopt(m_handle, CURLOPT_URL, url.constData());
        return statusOf(curl_easy_perform(m_handle)) == OkStatus;
    });
    if (!answered) {
        throw std::runtime_error("no site answered a bare walk");
    }
}

void BareClient::setBody(const QByteArray& body)
{
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, body.constData());
}

void BareClient::perform()
{
    const CURLcode code = curl_easy_perform(m_handle);
    if (const long status = statusOf(code); status != OkStatus) {
        throw std::runtime_error("a bare request came to " + std::to_string(status) + ", " +
                                 curl_easy_strerror(code));
    }
}

/// 0 when there was no whole reply.
long BareClient::statusOf(CURLcode code) const
{
    long status = 0;
    curl_easy_getinfo(m_handle, CURLINFO_RESPONSE_CODE, &status);
    return code == CURLE_OK ? status : 0;
}

}  // namespace bench
