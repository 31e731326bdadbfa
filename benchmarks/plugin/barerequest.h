#pragma once

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

private:
    void perform();

    CURL* m_handle;
    curl_slist* m_headers = nullptr;
};

}  // namespace bench
