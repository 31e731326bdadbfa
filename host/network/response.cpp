#include <network/response.h>

#include <mutex>

#include <QJsonDocument>

namespace http {

namespace {

/// Whether the JSON of `body` takes at most about nine times its size in memory. That of millions of numbers
/// or of small objects takes up to sixty times. A reply to ten thousand codes is read whatever its entries
/// are: short ones make it small, long ones are not dense.
bool isWorthParsing(const QByteArray& body)
{
    constexpr qsizetype alwaysParsed = qsizetype{2} * 1024 * 1024;
    constexpr qsizetype containerBytes = 400;  // of an array or an object, about
    constexpr qsizetype valueBytes = 32;
    constexpr qsizetype maxGrowth = 9;
    if (body.size() <= alwaysParsed) {
        return true;
    }
    qsizetype bytes = 0;
    for (const char c : body) {
        const bool beginsContainer = c == '{' || c == '[';
        bytes += beginsContainer ? containerBytes : c == ',' ? valueBytes : 0;
    }
    return bytes <= maxGrowth * body.size();
}

}  // namespace

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
    std::call_once(m_body->parsed, [this] {
        if (isWorthParsing(m_body->bytes)) {
            m_body->object = QJsonDocument::fromJson(m_body->bytes).object();
        }
    });
    return m_body->object;
}

}  // namespace http
