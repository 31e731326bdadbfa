#include <network/exchange.h>

#include <algorithm>
#include <limits>
#include <new>
#include <string_view>
#include <thread>

#include <openssl/ssl.h>

#include <network/cancellation.h>

namespace {

using std::chrono::milliseconds;

/// More than any honest reply has in its head; libcurl itself bounds single lines only.
constexpr size_t maxHeadBytes = size_t{256} * 1024;
constexpr int pollMilliseconds = 1000;
constexpr long minStatusOfFailure = 400;

bool isAskable(const QUrl& url)
{
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() &&
           (scheme == QStringLiteral("http") || scheme == QStringLiteral("https"));
}

/// Whether it is no interim reply's, and one at all: libcurl takes any number of digits after "HTTP/2".
bool isFinalStatus(long status)
{
    return status >= 200 && status <= 999;
}

/// As libcurl takes it, rounded up, so that a time-out never comes before its time: 0 is for ever.
long libcurlLimit(const QDeadlineTimer& deadline)
{
    constexpr milliseconds maxLimit(std::numeric_limits<int>::max());
    const auto left = deadline.remainingTimeAsDuration();
    return left >= maxLimit ? 0 : std::max(1L, long(std::chrono::ceil<milliseconds>(left).count()));
}

/// libcurl's clock arithmetic may be a millisecond fast, and a time-out must not come before its time.
void waitOut(const QDeadlineTimer& deadline)
{
    constexpr milliseconds maxAhead(2);
    if (const auto left = deadline.remainingTimeAsDuration(); left <= maxAhead) {
        std::this_thread::sleep_for(left);
    }
}

}  // namespace

Exchange::Exchange(Connections& connections, Request request)
    : m_connections(connections)
    , m_request(std::move(request))
{
}

http::ExchangeRecord Exchange::run()
{
    http::ExchangeRecord record{.post = m_request.post, .begin = std::chrono::steady_clock::now()};
    const Failure* failure = prepare();
    if (failure == nullptr) {
        applyRequest();
        failure = transfer();
        if (m_leftover) {
            m_connections.drop();
        }
        if (m_request.watched) {
            record.transport = transportOf(m_easy.get(), m_code);
        }
        record.transport.detail = failure != nullptr ? QString::fromUtf8(m_error) : QString();
    }
    record.response = response(failure);
    record.duration = std::chrono::steady_clock::now() - record.begin;
    return record;
}

/// Null when the exchange may begin.
const Failure* Exchange::prepare()
{
    if (!isAskable(m_request.url)) {
        return &failure::badUrl;
    }
    if (m_request.deadline.hasExpired()) {
        return &failure::timeout;
    }
    m_headers = headerLines(m_request.headers, !m_request.body.isEmpty());
    if (!m_headers) {
        return &failure::badHeader;
    }
    m_easy = m_connections.newHandle();
    return m_easy ? nullptr : &failure::other;
}

void Exchange::applyRequest()
{
    CURL* easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_URL, m_request.url.toEncoded(QUrl::RemoveFragment).constData());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, m_headers.get());
    if (m_request.post || !m_request.body.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(m_request.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, m_request.body.constData());
    }
    if (!m_request.post) {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, "GET");
    }
    curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, asksToClose(m_request.headers) ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_CERTINFO, m_request.watched ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, libcurlLimit(m_request.deadline));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_error);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Exchange::onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Exchange::onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &Exchange::onProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
}

/// Not by curl_easy_perform(), which nothing can wake.
const Failure* Exchange::transfer()
{
    CURLM* multi = m_connections.forNextExchange();
    if (multi == nullptr) {
        return &failure::other;
    }
    const CancellationWatch watch(multi);
    CURLMcode fault = curl_multi_add_handle(multi, m_easy.get());
    int running = 1;
    while (fault == CURLM_OK && !watch.isCanceled()) {
        fault = curl_multi_perform(multi, &running);
        if (fault != CURLM_OK || running == 0) {
            break;
        }
        fault = curl_multi_poll(multi, nullptr, 0, pollMilliseconds, nullptr);
    }
    int left = 0;
    const CURLMsg* message = curl_multi_info_read(multi, &left);
    m_code = message != nullptr ? message->data.result : CURLE_FAILED_INIT;
    curl_multi_remove_handle(multi, m_easy.get());
    return running != 0 && watch.isCanceled() ? &failure::canceled : judge();
}

const Failure* Exchange::judge() const
{
    constexpr long proxyAuthenticationRequired = 407;
    if (m_code == CURLE_OPERATION_TIMEDOUT) {
        waitOut(m_request.deadline);
        return m_request.deadline.hasExpired() ? &failure::timeout : &failure::unreachable;
    }
    if (m_tooLarge) {
        return &failure::tooLarge;
    }
    if (m_code != CURLE_OK &&
        info<long>(m_easy.get(), CURLINFO_HTTP_CONNECTCODE) == proxyAuthenticationRequired) {
        return &failure::proxyDenied;
    }
    if (m_code == CURLE_COULDNT_CONNECT && m_connections.throughProxy()) {
        return &failure::proxyUnreachable;
    }
    // libcurl is content with a connection that ends within the head.
    if (m_code == CURLE_OK &&
        (!m_headEnded || !isFinalStatus(info<long>(m_easy.get(), CURLINFO_RESPONSE_CODE)))) {
        return &failure::closed;
    }
    return failureOf(m_code, info<long>(m_easy.get(), CURLINFO_OS_ERRNO));
}

/// What came till this side ended the exchange is no reply, so the body is dropped then.
http::Response Exchange::response(const Failure* failure) const
{
    const long status = info<long>(m_easy.get(), CURLINFO_RESPONSE_CODE);
    http::Response response;
    response.setUrl(m_request.url);
    response.setStatus(isFinalStatus(status) ? int(status) : 0);
    if (failure == nullptr || failure->error != http::NetworkError::OperationCanceled) {
        response.setBody(m_body);
    }
    if (failure != nullptr) {
        response.setTimeout(failure == &failure::timeout);
        response.setNetworkError(!response.isTimeout());
        response.setNetworkError(failure->error);
        response.setErrorText(textOf(*failure, m_request.target));
    } else if (status >= minStatusOfFailure) {
        response.setNetworkError(http::networkErrorOfStatus(response.status()));
        response.setErrorText(textOfStatus(response.status(), m_request.target));
    }
    return response;
}

size_t Exchange::onBody(char* bytes, size_t size, size_t count, void* exchange)
{
    auto* self = static_cast<Exchange*>(exchange);
    const size_t length = size * count;
    self->m_tooLarge = length > self->m_request.maxReplyBytes - size_t(self->m_body.size());
    if (self->m_tooLarge) {
        return 0;
    }
    try {
        self->m_body.append(bytes, qsizetype(length));
    } catch (const std::bad_alloc&) {  // must not pass through libcurl
        self->m_tooLarge = true;
    }
    return self->m_tooLarge ? 0 : length;
}

size_t Exchange::onHeader(char* bytes, size_t size, size_t count, void* exchange)
{
    auto* self = static_cast<Exchange*>(exchange);
    const std::string_view line(bytes, size * count);
    self->m_headBytes += line.size();
    // A head of its own follows that of an interim reply, and trailers may follow the body.
    self->m_headEnded = (self->m_headEnded && !line.starts_with("HTTP/")) || line == "\r\n" || line == "\n";
    self->m_tooLarge = self->m_headBytes > maxHeadBytes;
    return self->m_tooLarge ? 0 : line.size();
}

/// Called for the last time when the reply is read. OpenSSL decrypts more at once than libcurl asks it for:
/// what is left over belongs to no request, and the socket does not show it.
int Exchange::onProgress(void* exchange, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    auto* self = static_cast<Exchange*>(exchange);
    const auto* tls = info<const curl_tlssessioninfo*>(self->m_easy.get(), CURLINFO_TLS_SSL_PTR);
    self->m_leftover = tls != nullptr && tls->backend == CURLSSLBACKEND_OPENSSL &&
                       tls->internals != nullptr && SSL_pending(static_cast<const SSL*>(tls->internals)) > 0;
    return 0;
}
