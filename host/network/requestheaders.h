#pragma once

#include <memory>

#include <curl/curl.h>

#include <QHash>
#include <QString>

/// What libcurl decodes for us.
inline constexpr const char* AcceptedEncodings = "gzip, deflate";

/// The header lines of a request as libcurl takes them, kept as long as the same headers are asked for.
/// Internal to the library. Threads: one at a time.
class RequestHeaders
{
public:
    /// Takes over `headers` and what follows from them for a body of `bodyBytes`: no "Expect", a
    /// "Content-Type" of JSON for a body that has none, an "Accept-Encoding". False when a name is no HTTP
    /// token or a value holds CR, LF or NUL; the list is then empty. Values of headers that carry credentials
    /// become secrets of the log.
    [[nodiscard]] bool set(const QHash<QString, QString>& headers, qsizetype bodyBytes);

    /// Valid until the next set().
    [[nodiscard]] curl_slist* list() const { return m_list.get(); }

    /// The headers ask for the connection to be closed after the reply.
    [[nodiscard]] bool closeConnection() const { return m_close; }

private:
    enum class Body { None, Short, Long };
    struct FreeList
    {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    void clear();
    void append(const QByteArray& line);

    QHash<QString, QString> m_headers;
    Body m_body = Body::None;
    bool m_close = false;
    std::unique_ptr<curl_slist, FreeList> m_list;
};
