#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QMetaType>
#include <QSharedPointer>
#include <QUrl>

#include <network/errorkind.h>
#include <network/networkerror.h>
#include <utils/export.h>
#include <utils/tr.h>

namespace http {

/// What came of one HTTP exchange. A value: copies are cheap and independent, but share the parsed JSON of
/// the body. Threads: one at a time for one value; copies may be used in different threads.
class ORVEX_EXPORT Response
{
public:
    /// No exchange: status 0, empty body, URL and error text, no error, ErrorKind::None.
    Response() = default;
    Response(const Response&) = default;
    Response(Response&&) noexcept = default;
    Response& operator=(const Response&) = default;
    Response& operator=(Response&&) noexcept = default;
    virtual ~Response() = default;

    /// HTTP status code; 0 when no status line came. Stays set when the reply was cut after its head.
    [[nodiscard]] int status() const { return m_status; }
    void setStatus(int status) { m_status = status; }

    /// The body as received, after decompression; cut short when isNetworkError() or isTimeout(), empty with
    /// NetworkError::OperationCanceled.
    [[nodiscard]] const QByteArray& body() const;
    void setBody(const QByteArray& body);

    /// The URL that was asked.
    [[nodiscard]] const QUrl& url() const { return m_url; }
    void setUrl(const QUrl& url) { m_url = url; }

    /// What went wrong, in Russian, naming the other side; empty when nothing did.
    [[nodiscard]] const tr::Tr& errorText() const { return m_errorText; }
    void setErrorText(const tr::Tr& text) { m_errorText = text; }

    /// The deadline passed before a complete reply had come.
    [[nodiscard]] bool isTimeout() const { return m_timeout; }
    void setTimeout(bool timeout) { m_timeout = timeout; }

    /// No complete reply came for a reason other than the deadline.
    [[nodiscard]] bool isNetworkError() const { return m_failed; }
    void setNetworkError(bool failed) { m_failed = failed; }

    /// The error's number; also set for a complete reply with a status of 400 and above.
    [[nodiscard]] NetworkError networkError() const { return m_networkError; }
    void setNetworkError(NetworkError error) { m_networkError = error; }

    [[nodiscard]] ErrorKind errorKind() const { return m_errorKind; }
    void setErrorKind(ErrorKind kind) { m_errorKind = kind; }

    /// The body as a JSON object; an empty object when it is not one. Parsed on the first call, and kept with
    /// the body for as long as a copy lives. Takes at most about nine times the body's size in memory: a body
    /// over 2 MiB that would take more, one of millions of small values, is an empty object too.
    [[nodiscard]] virtual QJsonObject responseObject() const;

private:
    struct Body;

    int m_status = 0;
    bool m_timeout = false;
    bool m_failed = false;
    NetworkError m_networkError = NetworkError::None;
    ErrorKind m_errorKind = ErrorKind::None;
    QUrl m_url;
    tr::Tr m_errorText;
    QSharedPointer<Body> m_body;
};

}  // namespace http

Q_DECLARE_METATYPE(http::Response)
