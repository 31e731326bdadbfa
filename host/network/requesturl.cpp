#include <network/requesturl.h>

namespace {

bool isAskable(const QUrl& url)
{
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() &&
           (scheme == QStringLiteral("http") || scheme == QStringLiteral("https"));
}

}  // namespace

bool RequestUrl::set(const QUrl& url)
{
    if (m_handle && url == m_url) {
        return true;
    }
    m_handle.reset(isAskable(url) ? curl_url() : nullptr);
    m_url = url;
    const QByteArray text = url.toEncoded(QUrl::RemoveFragment);
    if (curl_url_set(m_handle.get(), CURLUPART_URL, text.constData(), CURLU_PATH_AS_IS) != CURLUE_OK) {
        m_handle.reset();
    }
    return m_handle != nullptr;
}
