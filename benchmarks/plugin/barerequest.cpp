#include "benchmarks/plugin/barerequest.h"

#include <stdexcept>

namespace bench {

namespace {

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
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, body.constData());
    perform();
}

void BareClient::get(const QString& url)
{
    curl_easy_setopt(m_handle, CURLOPT_URL, url.toUtf8().constData());
    curl_easy_setopt(m_handle, CURLOPT_HTTPGET, 1L);
    perform();
}

void BareClient::perform()
{
    const CURLcode code = curl_easy_perform(m_handle);
    long status = 0;
    curl_easy_getinfo(m_handle, CURLINFO_RESPONSE_CODE, &status);
    if (code != CURLE_OK || status != 200) {
        throw std::runtime_error("a bare request came to " + std::to_string(status) + ", " +
                                 curl_easy_strerror(code));
    }
}

}  // namespace bench
