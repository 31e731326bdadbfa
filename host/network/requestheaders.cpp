#include <network/requestheaders.h>

#include <algorithm>

#include <QByteArray>

#include <log4qt/logmanager.h>

namespace {

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

bool RequestHeaders::set(const QHash<QString, QString>& headers, bool hasBody)
{
    if (m_list != nullptr && m_hasBody == hasBody && m_headers == headers) {
        return true;
    }
    clear();
    bool hasContentType = false;
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        if (!isToken(header.key()) || !isHeaderValue(header.value())) {
            clear();
            return false;
        }
        keepOutOfLog(header.key(), header.value());
        append(headerLine(header.key(), header.value()));
        hasContentType |= isNamed(header.key(), u"Content-Type");
        m_close |= isNamed(header.key(), u"Connection") && isNamed(header.value().trimmed(), u"close");
    }
    append("Expect:");
    if (!hasContentType) {
        append(hasBody ? "Content-Type: application/json" : "Content-Type:");
    }
    m_headers = headers;
    m_hasBody = hasBody;
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
