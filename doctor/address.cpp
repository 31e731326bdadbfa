#include "doctor/address.h"

namespace doctor {

QUrl addressOf(const QString& text)
{
    const bool isWhole = text.contains(QLatin1String("://"));
    return isWhole && !QUrl(text, QUrl::StrictMode).isValid() ? QUrl() : QUrl::fromUserInput(text);
}

bool isAskable(const QUrl& url)
{
    const bool isHttp = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    return url.isValid() && !url.host().isEmpty() && isHttp;
}

QString shown(const QUrl& url)
{
    return url.toDisplayString(QUrl::RemoveUserInfo);
}

}  // namespace doctor
