#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <QDeadlineTimer>
#include <QHash>
#include <QJsonDocument>
#include <QObject>
#include <QString>
#include <QUrl>

#include <network/exchangerecord.h>
#include <network/response.h>
#include <utils/export.h>
#include <utils/mockfactory.h>

namespace Log4Qt {
class Logger;
}

/// A synchronous HTTP/1.1 client. Created through MockFactory<RestClient>::create(), so that a test can
/// replace it.
///
/// Connections stay open between requests of one client unless the headers of either side forbid it. TLS 1.2
/// and above, the certificate is verified. Redirects are not followed: a key in a header must not travel.
/// gzip and deflate are accepted. Only http and https URLs are asked. The environment's proxy variables are
/// ignored.
///
/// Settings, read when the client is created: "Network:caFile" (PEM file with the trusted certificates
/// instead of the system's), "Network:proxy" (URL of a proxy, none by default), "Network:maxReplyBytes"
/// (default 16 MiB, counted after decompression).
///
/// Failures never throw: they are in the Response. What this side caused is NetworkError::OperationCanceled,
/// without a body, and says nothing about the other side: an exchange ended by cancelAll(), a reply over
/// "Network:maxReplyBytes" or with more than 256 KiB of header lines (the status is kept when it came), and a
/// header whose name is no HTTP token or whose value holds CR, LF or NUL (refused without an exchange).
///
/// A header without a value is sent. A body is sent as "application/json" unless a "Content-Type" is given.
///
/// A kept connection on which unread bytes wait, or that has been idle for more than 15 s, is not used again.
///
/// A request over a connection that the other side has meanwhile closed is repeated once over a new one, so
/// the other side may see it twice.
///
/// Threads: any thread, one request at a time; a request started meanwhile in another thread waits. The
/// setters are for the owner, before a request.
class ORVEX_EXPORT RestClient : public QObject
{
    Q_OBJECT

public:
    RestClient();
    ~RestClient() override;

    /// Limit of one whole exchange, name look-up included, for the requests that follow. A new client has one
    /// of 30 s; zero or less stands for that one too, since nobody at a till waits for ever. The last of the
    /// three setters called is in force. A time-out never comes before the limit.
    virtual void setTimeout(int seconds);
    virtual void setTimeout(std::chrono::milliseconds timeout);
    /// A point in time instead of a duration. An exchange that would begin at or after it is a time-out at
    /// once.
    virtual void setDeadline(const QDeadlineTimer& deadline);

    /// How the client's own messages name the other side, in the dative: "серверу ...".
    virtual void setTargetAlias(const QString& alias);
    /// Where the client logs: each exchange at debug level, a failed one as a warning. Null (the default):
    /// nowhere.
    virtual void setLogger(const Log4Qt::Logger* logger);

    /// GET; a body is sent only when the document is not empty.
    virtual http::Response get(const QUrl& url, const QJsonDocument& body,
                               const QHash<QString, QString>& headers);
    /// POST of the document as compact JSON in UTF-8; an empty document is an empty body.
    virtual http::Response post(const QUrl& url, const QJsonDocument& body,
                                const QHash<QString, QString>& headers);
    /// POST when the document is not empty, otherwise GET.
    virtual http::Response request(const QUrl& url, const QJsonDocument& body,
                                   const QHash<QString, QString>& headers);

    /// The number of the last response's networkError(): 0 means that it was complete and its status below
    /// 400, or that there has been none.
    [[nodiscard]] virtual int lastError() const;

    /// Ends every exchange of every client in the process at once, present and future ones alike, as a
    /// network error (OperationCanceled), until called with false. For a host that must stop while a check is
    /// running.
    static void cancelAll(bool cancel);

    /// Calls `observer` at the end of every request of every client, in the thread that made the request and
    /// before it returns. One observer at a time; an empty function removes it. After the call returns, an
    /// earlier observer is neither running nor called any more (unless it made the call itself).
    ///
    /// Calls of the observer do not overlap, so it must not wait for another thread that makes requests. It
    /// is not called for requests of its own. What it throws is dropped. Without an observer a request costs
    /// nothing more.
    static void setExchangeObserver(std::function<void(const http::ExchangeRecord&)> observer);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

extern template class MockFactory<RestClient>;
