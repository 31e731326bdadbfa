#pragma once

#include <vector>

#include <QByteArray>
#include <QList>
#include <QString>

#include <curl/curl.h>
#include <utils/markingcode.h>

namespace bench {

/// What one would use instead: libcurl, one handle, connections kept alive.
class BareClient
{
public:
    /// `caFile`: PEM file with the only trusted certificates, empty for the system's.
    explicit BareClient(const QString& caFile = {});
    ~BareClient();
    BareClient(const BareClient&) = delete;
    BareClient& operator=(const BareClient&) = delete;

    /// Posts with the headers that a check has; the reply. Throws std::runtime_error unless the status is
    /// 200.
    const QByteArray& post(const QString& url, const QByteArray& body);
    /// What any Qt client must do for a check: writes a JSON document, exchanges it over a kept connection
    /// and reads the reply. Throws std::runtime_error when that is not about as many codes.
    void check(const QString& url, const QList<MarkingCode>& codes);
    /// Posts to one site after the other, up to 2 s each as the till does, until one says 200, and throws
    /// when none does: the least that a failover over dead sites takes, since nothing is remembered of them.
    void postInTurn(const std::vector<QString>& urls, const QByteArray& body);

    /// The body that the plug-in sends for these codes.
    [[nodiscard]] static QByteArray bodyOf(const QList<MarkingCode>& codes);

private:
    bool isPosted(const QString& url, const QByteArray& body);

    CURL* m_handle;
    curl_slist* m_headers = nullptr;
    QByteArray m_reply;
};

}  // namespace bench
