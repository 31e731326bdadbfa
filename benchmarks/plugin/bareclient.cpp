#include "benchmarks/plugin/bareclient.h"

#include <algorithm>
#include <stdexcept>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace bench {

BareClient::BareClient(const QString& caFile)
    : m_handle(curl_easy_init())
{
    for (const char* header : {"Content-Type: application/json", "Accept: application/json",
                               "Connection: keep-alive", "X-API-KEY: c5a1f0de-7b42-4e8a-9d3f-000000000001"}) {
        m_headers = curl_slist_append(m_headers, header);
    }
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
    curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_handle, CURLOPT_TIMEOUT, 60L);
    curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, &m_reply);
    constexpr curl_write_callback append = [](char* data, size_t size, size_t count, void* reply) {
        static_cast<QByteArray*>(reply)->append(data, static_cast<qsizetype>(size * count));
        return size * count;
    };
    curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, append);
    if (!caFile.isEmpty()) {
        curl_easy_setopt(m_handle, CURLOPT_CAINFO, caFile.toUtf8().constData());
    }
}

BareClient::~BareClient()
{
    curl_easy_cleanup(m_handle);
    curl_slist_free_all(m_headers);
}

const QByteArray& BareClient::post(const QString& url, const QByteArray& body)
{
    if (!isPosted(url, body)) {
        throw std::runtime_error("a bare request to " + url.toStdString() + " failed");
    }
    return m_reply;
}

void BareClient::check(const QString& url, const QList<MarkingCode>& codes)
{
    const QJsonDocument reply = QJsonDocument::fromJson(post(url, bodyOf(codes)));
    if (reply["codes"].toArray().size() != codes.size()) {
        throw std::runtime_error("the floor got another reply");
    }
}

void BareClient::postInTurn(const std::vector<QString>& urls, const QByteArray& body)
{
    curl_easy_setopt(m_handle, CURLOPT_TIMEOUT, 2L);
    if (std::none_of(urls.begin(), urls.end(), [&](const QString& url) { return isPosted(url, body); })) {
        throw std::runtime_error("no site answered a bare client");
    }
}

QByteArray BareClient::bodyOf(const QList<MarkingCode>& codes)
{
    QJsonArray texts;
    for (const MarkingCode& code : codes) {
        texts.append(code.toString());
    }
    return QJsonDocument(QJsonObject{{"codes", texts}}).toJson(QJsonDocument::Compact);
}

bool BareClient::isPosted(const QString& url, const QByteArray& body)
{
    constexpr long okStatus = 200;
    m_reply.resize(0);
    curl_easy_setopt(m_handle, CURLOPT_URL, url.toUtf8().constData());
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, body.constData());
    const bool isComplete = curl_easy_perform(m_handle) == CURLE_OK;
    long status = 0;
    curl_easy_getinfo(m_handle, CURLINFO_RESPONSE_CODE, &status);
    return isComplete && status == okStatus;
}

}  // namespace bench
