#include <network/exchange.h>

#include <string_view>

namespace {

QDateTime utc(const char* text)
{
    const time_t seconds = curl_getdate(text, nullptr);
    return seconds < 0 ? QDateTime() : QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

std::chrono::microseconds time(CURL* easy, CURLINFO what)
{
    return std::chrono::microseconds(info<curl_off_t>(easy, what));
}

QString peer(CURL* easy)
{
    const QString host = QString::fromLatin1(info<const char*>(easy, CURLINFO_PRIMARY_IP));
    if (host.isEmpty()) {
        return {};
    }
    const QString port = QString::number(info<long>(easy, CURLINFO_PRIMARY_PORT));
    return (host.contains(u':') ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2")).arg(host, port);
}

http::Stage stage(CURL* easy, CURLcode code)
{
    if (code == CURLE_COULDNT_RESOLVE_HOST || code == CURLE_COULDNT_RESOLVE_PROXY ||
        time(easy, CURLINFO_NAMELOOKUP_TIME_T).count() == 0) {
        return http::Stage::LookUp;
    }
    if (peer(easy).isEmpty()) {
        return http::Stage::Connect;
    }
    // libcurl takes the time of the connection when TLS is agreed on as well.
    const bool isTalk = time(easy, CURLINFO_CONNECT_TIME_T).count() != 0 &&
                        time(easy, CURLINFO_PRETRANSFER_TIME_T).count() != 0;
    return isTalk ? http::Stage::Talk : http::Stage::Handshake;
}

QDateTime serverTime(CURL* easy)
{
    curl_header* header = nullptr;
    const bool found = curl_easy_header(easy, "Date", 0, CURLH_HEADER, -1, &header) == CURLHE_OK;
    return found ? utc(header->value) : QDateTime();
}

/// The server's own certificate comes first in the chain.
QDateTime certificateEnd(CURL* easy)
{
    static constexpr std::string_view name = "Expire date:";
    const auto* chain = info<const curl_certinfo*>(easy, CURLINFO_CERTINFO);
    const bool hasOne = chain != nullptr && chain->num_of_certs > 0;
    for (const curl_slist* line = hasOne ? chain->certinfo[0] : nullptr; line != nullptr; line = line->next) {
        if (std::string_view(line->data).starts_with(name)) {
            return utc(line->data + name.size());
        }
    }
    return {};
}

}  // namespace

http::Transport transportOf(CURL* easy, CURLcode code)
{
    constexpr int unspecified = 1;  // before anything was looked at, and for a wrong name
    const int fault = int(info<long>(easy, CURLINFO_SSL_VERIFYRESULT));
    return {.stage = stage(easy, code),
            .detail = {},
            .peer = peer(easy),
            .resolved = time(easy, CURLINFO_NAMELOOKUP_TIME_T),
            .connected = time(easy, CURLINFO_CONNECT_TIME_T),
            .secured = time(easy, CURLINFO_APPCONNECT_TIME_T),
            .serverTime = serverTime(easy),
            .certificateEnd = certificateEnd(easy),
            .certificateFault = fault == unspecified ? 0 : fault};
}
