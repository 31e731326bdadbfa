#include "poshost/settings/values.h"

#include <QFile>
#include <QRegularExpression>

namespace poshost {

QUrl addressOf(const QString& text)
{
    const bool isWhole = text.contains(QLatin1String("://"));
    return isWhole && !QUrl(text, QUrl::StrictMode).isValid() ? QUrl() : QUrl::fromUserInput(text);
}

bool isProxy(const QString& text)
{
    const bool isWhole = text.contains(QLatin1String("://"));
    return !QUrl(isWhole ? text : QLatin1String("http://") + text, QUrl::StrictMode).host().isEmpty();
}

bool isAskable(const QUrl& url)
{
    const bool isHttp = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    return url.isValid() && !url.host().isEmpty() && isHttp;
}

bool isOverheard(const QUrl& url)
{
    const QString host = url.host();
    const bool isHere = host == QLatin1String("localhost") || host.startsWith(QLatin1String("127.")) ||
                        host == QLatin1String("::1");
    return url.scheme() == QLatin1String("http") && !isHere;
}

QUrl methodUrl(const QUrl& base, const QString& path)
{
    QUrl url = base;
    url.setPath(base.path(QUrl::FullyDecoded) + path, QUrl::DecodedMode);
    return url;
}

QString shown(const QUrl& url)
{
    return url.toDisplayString(QUrl::RemoveUserInfo);
}

QString shownText(const QString& text)
{
    const qsizetype at = text.lastIndexOf(u'@');
    return at < 0 ? text : u'…' + text.sliced(at);
}

bool holdsCertificates(const QString& name)
{
    static const QRegularExpression head(QStringLiteral("-----BEGIN ([A-Z0-9]+ )?CERTIFICATE-----"));
    QFile file(name);
    return file.open(QIODevice::ReadOnly) && QString::fromLatin1(file.readAll()).contains(head);
}

QString masked(const QString& secret)
{
    constexpr qsizetype maxHidden = 8;
    return secret.size() > maxHidden ? u'…' + secret.last(4) : QStringLiteral("…");
}

}  // namespace poshost
