#pragma once

#include <chrono>
#include <memory>

#include <QByteArray>
#include <QJsonValue>
#include <QStringList>

#include <curl/curl.h>

/// What came back of one request.
struct HttpReply
{
    CURLcode result = CURLE_OK;
    long status = 0;  ///< 0 when no status line came
    QStringList headers;
    QByteArray body;

    /// The object that the body is; undefined values when it is none.
    [[nodiscard]] QJsonValue json() const;
};

/// An HTTP client on one libcurl handle, so that connections are reused as long as both sides agree.
class HttpClient
{
public:
    /// Any verb; a body is sent when it is not empty or the verb is POST or PUT.
    HttpReply send(const char* verb, const QString& url, const QByteArray& body = {},
                   const QStringList& headers = {}) const;

    std::chrono::milliseconds timeout{30'000};
    QByteArray caFile;

private:
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> m_handle{curl_easy_init(), &curl_easy_cleanup};
};
