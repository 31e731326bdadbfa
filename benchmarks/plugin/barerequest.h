#pragma once

#include <vector>

#include <QByteArray>
#include <QString>

#include <curl/curl.h>

namespace bench {

/// What one would use instead: libcurl, one handle, connections kept alive, replies not read.
class BareClient
{
public:
    BareClient();
    ~BareClient();
    BareClient(const BareClient&) = delete;
    BareClient& operator=(const BareClient&) = delete;

    /// Posts with the headers that a check has. Throws std::runtime_error unless the status is 200.
    void post(const QString& url, const QByteArray& body);
    /// The same for a GET.
    void get(const QString& url);
    /// Posts to one site after the other until one says 200, and throws when none does: the least that a walk
    /// over dead sites takes, since nothing is remembered of them.
    void walk(const std::vector<QByteArray>& urls, const QByteArray& body);

private:
    void setBody(const QByteArray& body);
    void perform();
    [[nodiscard]] long statusOf(CURLcode code) const;

    CURL* m_handle;
    curl_slist* m_headers = nullptr;
};

}  // namespace bench
