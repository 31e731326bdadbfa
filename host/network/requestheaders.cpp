#include <network/requestheaders.h>

#include <algorithm>

#include <QByteArray>

#include <log4qt/logmanager.h>

namespace {

/// libcurl does not ask the server before it sends a body of so many bytes: 1,048,576 today, 1,024 once.
constexpr qsizetype LongestUnasked = 1024;

bool isToken(const QString& name)
{
    static constexpr QStringView marks = u"!#$%&'*+-.^_`|~";
    return !name.isEmpty() && std::all_of(name.begin(), name.end(), [](QChar c) {
        return c.unicode() < 0x80 && (c.isLetterOrNumber() || marks.contains(c));
    });
}

bool isHeaderValue(const QString& value)
{
    return std::none_of(value.begin(), value.end(),
                        [](QChar c) { return c == u'\r' || c == u'\n' || c == QChar::Null; });
}

bool isNamed(const QString& name, QStringView wanted)
{
    return name.compare(wanted, Qt::CaseInsensitive) == 0;
}

/// The credentials of an Authorization header are what follows its scheme.
void keepOutOfLog(const QString& name, const QString& value)
{
    if (isNamed(name, u"X-API-KEY")) {
        Log4Qt::LogManager::addSecret(value);
    } else if (isNamed(name, u"Authorization")) {
        Log4Qt::LogManager::addSecret(value.mid(value.indexOf(u' ') + 1).trimmed());
    }
}

QByteArray headerLine(const QString& name, const QString& value)
{
    const QByteArray trimmed = value.toUtf8().trimmed();
    // libcurl's notation for a header without a value; "Name:" would leave the header out.
    return trimmed.isEmpty() ? name.toLatin1() + ';' : name.toLatin1() + ": " + trimmed;
}

}  // namespace

bool RequestHeaders::set(const QHash<QString, QString>& headers, qsizetype bodyBytes)
{
    const Body body = bodyBytes > LongestUnasked ? Body::Long : bodyBytes > 0 ? Body::Short : Body::None;
    if (m_list != nullptr && m_body == body && m_headers == headers) {
        return true;
    }
    clear();
    bool hasContentType = false, hasEncoding = false;
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        if (!isToken(header.key()) || !isHeaderValue(header.value())) {
            clear();
            return false;
        }
        keepOutOfLog(header.key(), header.value());
        append(headerLine(header.key(), header.value()));
        hasContentType |= isNamed(header.key(), u"Content-Type");
        hasEncoding |= isNamed(header.key(), u"Accept-Encoding");
        m_close |= isNamed(header.key(), u"Connection") && isNamed(header.value().trimmed(), u"close");
    }
    if (body == Body::Long) {
        append("Expect:");
    }
    if (!hasContentType) {
        append(body != Body::None ? "Content-Type: application/json" : "Content-Type:");
    }
    if (!hasEncoding) {
        // Left to libcurl it is printed twice for every request, letter by letter.
        append(QByteArray("Accept-Encoding: ") + AcceptedEncodings);
    }
    m_headers = headers;
    m_body = body;
    return true;
}

void RequestHeaders::clear()
{
    m_list.reset();
    m_headers.clear();
    m_close = false;
}

void RequestHeaders::append(const QByteArray& line)
{
    if (curl_slist* longer = curl_slist_append(m_list.get(), line.constData())) {
        static_cast<void>(m_list.release());
        m_list.reset(longer);
    }
}
