#include <network/response.h>

#include <mutex>

#include <QJsonDocument>

namespace http {

/// A body and the object parsed from it; shared between copies, which may live in different threads.
struct Response::Body
{
    explicit Body(const QByteArray& received)
        : bytes(received)
    {
    }

    const QByteArray bytes;
    std::once_flag parsed;
    QJsonObject object;
};

Response::Response() = default;
Response::Response(const Response&) = default;
Response::Response(Response&&) noexcept = default;
Response& Response::operator=(const Response&) = default;
Response& Response::operator=(Response&&) noexcept = default;
Response::~Response() = default;

const QByteArray& Response::body() const
{
    static const QByteArray nothing;
    return m_body ? m_body->bytes : nothing;
}

void Response::setBody(const QByteArray& body)
{
    m_body = body.isEmpty() ? nullptr : QSharedPointer<Body>::create(body);
}

QJsonObject Response::responseObject() const
{
    if (!m_body) {
        return {};
    }
    std::call_once(m_body->parsed,
                   [this] { m_body->object = QJsonDocument::fromJson(m_body->bytes).object(); });
    return m_body->object;
}

}  // namespace http
