#include "tests/support/httpclient.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

size_t appendBody(const char* bytes, size_t, size_t size, void* body)
{
    static_cast<QByteArray*>(body)->append(bytes, static_cast<qsizetype>(size));
    return size;
}

size_t appendHeader(const char* bytes, size_t, size_t size, void* headers)
{
    *static_cast<QStringList*>(headers) << QString::fromUtf8(bytes, static_cast<qsizetype>(size)).trimmed();
    return size;
}

}  // namespace

QJsonValue HttpReply::json() const
{
    return QJsonDocument::fromJson(body).object();
}

HttpReply HttpClient::send(const char* verb, const QString& url, const QByteArray& body,
                           const QStringList& headers) const
{
    HttpReply reply;
    auto* curl = m_handle.get();
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> list(nullptr, &curl_slist_free_all);
    for (const QString& header : headers) {
        list.reset(curl_slist_append(list.release(), header.toUtf8().constData()));
    }
    curl_easy_reset(curl);
    curl_easy_setopt(curl, CURLOPT_URL, url.toUtf8().constData());
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, verb);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list.get());
    if (!body.isEmpty() || qstrcmp(verb, "POST") == 0 || qstrcmp(verb, "PUT") == 0) {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.constData());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(body.size()));
    }
    curl_easy_setopt(curl, CURLOPT_EXPECT_100_TIMEOUT_MS, 60'000L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, long(timeout.count()));
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &appendBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply.body);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &appendHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &reply.headers);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_CAINFO, caFile.isEmpty() ? nullptr : caFile.constData());
    reply.result = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
    return reply;
}
