#pragma once

#include "standprocess.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <curl/curl.h>
#include <memory>
#include <string>
#include <vector>

/// What came back of one request.
struct Reply
{
    CURLcode result = CURLE_OK;
    long status = 0;  ///< 0 when no status line came
    std::vector<std::string> headers;
    std::string body;
    std::chrono::milliseconds elapsed{0};

    [[nodiscard]] QJsonObject object() const { return toObject(body); }
    [[nodiscard]] bool hasHeader(const std::string& line) const;
};

/// An HTTP client on one libcurl handle, so that connections are reused as long as both sides agree.
class HttpClient
{
public:
    HttpClient();

    Reply get(const std::string& url, const std::vector<std::string>& headers = {});
    /// Any verb; a body is sent when it is not empty or the verb is POST or PUT.
    Reply send(const std::string& verb, const std::string& url, const std::string& body,
               const std::vector<std::string>& headers = {});

    void setTimeout(std::chrono::milliseconds timeout) { timeout_ = timeout; }
    void setCaFile(const std::string& file) { caFile_ = file; }
    void setGzip(bool wanted) { gzip_ = wanted; }

private:
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_;
    std::chrono::milliseconds timeout_{20'000};
    std::string caFile_;
    bool gzip_ = false;
};

/// What most tests do with a stand.
class StandClient : public HttpClient
{
public:
    explicit StandClient(const StandProcess& stand)
        : stand_(stand)
    {
    }

    /// Asks a site, with the right key.
    Reply check(const QStringList& codes, const std::string& site = "site-1");
    Reply health(const std::string& server = "site-1");
    /// Makes `behaviours` (JSON) the server's; the test fails when they are refused.
    void behave(const std::string& server, const std::string& behaviours);
    Reply admin(const std::string& verb, const std::string& path, const std::string& body = {});
    /// The logged requests of `server`.
    [[nodiscard]] QJsonArray requests(const std::string& server);

    [[nodiscard]] std::vector<std::string> keyHeader() const { return {"X-API-KEY: " + stand_.key()}; }

private:
    const StandProcess& stand_;
};
