#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QHash>
#include <QString>
#include <QUrl>

#include <network/connections.h>
#include <network/exchangerecord.h>
#include <network/failure.h>

/// One HTTP exchange, used once. Internal to the library. Threads: one at a time.
class Exchange
{
public:
    struct Request
    {
        bool post = false;
        const QUrl& url;
        /// How messages name the other side, in the dative.
        QString target;
        QByteArray body;
        const QHash<QString, QString>& headers;
        /// Limit of the whole exchange.
        QDeadlineTimer deadline;
        size_t maxReplyBytes = 0;
        /// Fill in the whole record; otherwise its transport holds no more than Transport::detail.
        bool watched = false;
    };

    /// The connections and what the request refers to must outlive the exchange.
    Exchange(Connections& connections, Request request);
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    [[nodiscard]] http::ExchangeRecord run();

private:
    static size_t onBody(char* bytes, size_t size, size_t count, void* exchange);
    static size_t onHeader(char* bytes, size_t size, size_t count, void* exchange);
    static int onProgress(void* exchange, curl_off_t, curl_off_t, curl_off_t, curl_off_t);

    [[nodiscard]] const Failure* prepare();
    void applyRequest();
    [[nodiscard]] const Failure* transfer();
    [[nodiscard]] const Failure* judge() const;
    [[nodiscard]] http::Response response(const Failure* failure) const;

    Connections& m_connections;
    const Request m_request;
    CurlList m_headers;
    CurlEasy m_easy;
    CURLcode m_code = CURLE_OK;  ///< what the transfer ended in
    QByteArray m_body;
    size_t m_headBytes = 0;
    bool m_headEnded = false;
    bool m_tooLarge = false;
    bool m_leftover = false;  ///< bytes behind the reply are decrypted already
    char m_error[CURL_ERROR_SIZE] = {};
};

/// The header lines of a request as libcurl takes them: `headers`, and a "Content-Type" of JSON for a body
/// that has none. Null when a name is no HTTP token or a value holds CR, LF or NUL. Values of headers that
/// carry credentials become secrets of the log (exchange_headers.cpp).
[[nodiscard]] CurlList headerLines(const QHash<QString, QString>& headers, bool hasBody);

/// The headers ask for the connection to be closed after the reply.
[[nodiscard]] bool asksToClose(const QHash<QString, QString>& headers);

/// One of the things that `easy` knows, of the type that libcurl gives it in; zero or null without a handle.
template <class Value>
[[nodiscard]] Value info(CURL* easy, CURLINFO what)
{
    Value value{};
    curl_easy_getinfo(easy, what, &value);
    return value;
}

/// What `easy` knows of its exchange, which ended in `code`; without Transport::detail (exchange_record.cpp).
[[nodiscard]] http::Transport transportOf(CURL* easy, CURLcode code);
