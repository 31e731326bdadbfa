#include <network/exchange.h>

#include <algorithm>

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
    return !value.contains(u'\r') && !value.contains(u'\n') && !value.contains(QChar::Null);
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

void append(CurlList& lines, const QByteArray& line)
{
    if (curl_slist* longer = curl_slist_append(lines.get(), line.constData())) {
        static_cast<void>(lines.release());
        lines.reset(longer);
    }
}

}  // namespace

CurlList headerLines(const QHash<QString, QString>& headers, bool hasBody)
{
    CurlList lines;
    append(lines, "Expect:");  // to ask before a long body is sent costs a round trip
    bool hasContentType = false;
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        if (!isToken(header.key()) || !isHeaderValue(header.value())) {
            return nullptr;
        }
        keepOutOfLog(header.key(), header.value());
        append(lines, headerLine(header.key(), header.value()));
        hasContentType |= isNamed(header.key(), u"Content-Type");
    }
    if (!hasContentType) {
        append(lines, hasBody ? "Content-Type: application/json" : "Content-Type:");
    }
    return lines;
}

bool asksToClose(const QHash<QString, QString>& headers)
{
    return std::any_of(headers.keyValueBegin(), headers.keyValueEnd(), [](const auto& header) {
        return isNamed(header.first, u"Connection") && isNamed(header.second.trimmed(), u"close");
    });
}
