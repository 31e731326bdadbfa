#include <network/exchange.h>

#include <string_view>

namespace {

QDateTime utc(const char* text)
{
    const time_t seconds = curl_getdate(text, nullptr);
    return seconds < 0 ? QDateTime() : QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

}  // namespace

std::chrono::microseconds Exchange::time(CURLINFO what) const
{
    curl_off_t value = 0;
    curl_easy_getinfo(m_easy.get(), what, &value);
    return std::chrono::microseconds(value);
}

QString Exchange::peer() const
{
    char* address = nullptr;
    curl_easy_getinfo(m_easy.get(), CURLINFO_PRIMARY_IP, &address);
    if (address == nullptr || *address == '\0') {
        return {};
    }
    const QString host = QString::fromLatin1(address);
    const QString port = QString::number(info(CURLINFO_PRIMARY_PORT));
    return (host.contains(u':') ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2")).arg(host, port);
}

http::Transport Exchange::transport(CURLcode code) const
{
    constexpr int unspecified = 1;  // before anything was looked at, and for a wrong name
    http::Transport seen;
    seen.stage = stage(code);
    seen.peer = peer();
    seen.resolved = time(CURLINFO_NAMELOOKUP_TIME_T);
    seen.connected = time(CURLINFO_CONNECT_TIME_T);
    seen.secured = time(CURLINFO_APPCONNECT_TIME_T);
    seen.serverTime = serverTime();
    seen.certificateEnd = certificateEnd();
    seen.detail = QString::fromUtf8(m_error);
    const int fault = int(info(CURLINFO_SSL_VERIFYRESULT));
    seen.certificateFault = fault == unspecified ? 0 : fault;
    return seen;
}

http::Stage Exchange::stage(CURLcode code) const
{
    if (code == CURLE_COULDNT_RESOLVE_HOST || code == CURLE_COULDNT_RESOLVE_PROXY ||
        time(CURLINFO_NAMELOOKUP_TIME_T).count() == 0) {
        return http::Stage::LookUp;
    }
    if (peer().isEmpty()) {
        return http::Stage::Connect;
    }
    // libcurl takes the time of the connection when TLS is agreed on as well.
    return time(CURLINFO_CONNECT_TIME_T).count() == 0 || time(CURLINFO_PRETRANSFER_TIME_T).count() == 0
               ? http::Stage::Handshake
               : http::Stage::Talk;
}

QDateTime Exchange::serverTime() const
{
    curl_header* header = nullptr;
    const bool found = curl_easy_header(m_easy.get(), "Date", 0, CURLH_HEADER, -1, &header) == CURLHE_OK;
    return found ? utc(header->value) : QDateTime();
}

QDateTime Exchange::certificateEnd() const
{
    static constexpr std::string_view name = "Expire date:";
    curl_certinfo* chain = nullptr;
    if (curl_easy_getinfo(m_easy.get(), CURLINFO_CERTINFO, &chain) != CURLE_OK || chain == nullptr ||
        chain->num_of_certs < 1) {
        return {};
    }
    // The server's own comes first.
    for (const curl_slist* line = chain->certinfo[0]; line != nullptr; line = line->next) {
        if (const std::string_view text(line->data); text.starts_with(name)) {
            return utc(line->data + name.size());
        }
    }
    return {};
}
