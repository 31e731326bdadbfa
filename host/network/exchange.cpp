#include <network/exchange.h>

#include <algorithm>
#include <limits>
#include <mutex>
#include <new>
#include <string_view>
#include <thread>

#include <QFile>

#include <network/cancellation.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// More than any honest reply has in its head; libcurl itself bounds single lines only.
constexpr size_t MostHeadBytes = size_t{256} * 1024;
/// The most that memory is taken for by what a reply says of its length.
constexpr size_t MostAhead = size_t{1024} * 1024;
constexpr int PollMilliseconds = 1000;

void initialiseLibcurl()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

/// Whether it is no interim reply's, and one at all: libcurl takes any number of digits after "HTTP/2".
bool isFinalStatus(long status)
{
    return status >= 200 && status <= 999;
}

/// libcurl's clock arithmetic may be a millisecond fast, and a time-out must not come before its time.
void waitOut(steady_clock::time_point start, milliseconds limit)
{
    constexpr milliseconds mostAhead(2);
    if (limit - std::chrono::floor<milliseconds>(steady_clock::now() - start) <= mostAhead) {
        std::this_thread::sleep_until(start + limit);
    }
}

/// As libcurl takes it: a limit beyond its range is none.
long libcurlLimit(milliseconds limit)
{
    if (limit <= milliseconds::zero() || limit.count() >= std::numeric_limits<int>::max()) {
        return 0;
    }
    return long(limit.count());
}

}  // namespace

Exchange::Exchange(const Settings& settings)
    : m_maxReplyBytes(settings.maxReplyBytes)
    , m_proxied(!settings.proxy.isEmpty())
{
    initialiseLibcurl();
    m_multi.reset(curl_multi_init());
    m_prototype.reset(curl_easy_init());
    if (m_prototype) {
        applySettings(settings);
    }
}

Exchange::~Exchange() = default;

void Exchange::applySettings(const Settings& settings)
{
    CURL* easy = m_prototype.get();
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // Without it a slow name look-up is waited for to its end, whatever the limit.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, AcceptedEncodings);
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    if (!settings.caFile.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, QFile::encodeName(settings.caFile).constData());
        curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    }
    // Set even when empty: otherwise the environment's variables are in force.
    curl_easy_setopt(easy, CURLOPT_PROXY, settings.proxy.toUtf8().constData());
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
    // The limit of the whole exchange is the only one.
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, long(std::numeric_limits<int>::max()));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Exchange::onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Exchange::onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
}

Exchange::Result Exchange::run(const Request& request)
{
    m_requestBody = request.body;
    if (!m_headers.set(request.headers, m_requestBody.size())) {
        return {.failure = Failure::BadHeader};
    }
    takeHandle({.post = request.post,
                .body = !m_requestBody.isEmpty(),
                .close = m_headers.closeConnection(),
                .watched = request.watched});
    if (!m_easy || !m_multi) {
        return {.failure = Failure::Other};
    }
    CURL* easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_CURLU, request.url);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, m_headers.list());
    if (m_kind.post || m_kind.body) {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(m_requestBody.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, m_requestBody.constData());
    }
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, libcurlLimit(request.limit));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, request.detailed ? m_error : nullptr);

    m_replyBody.clear();
    m_headBytes = 0;
    m_headEnded = false;
    m_tooLarge = false;
    m_error[0] = '\0';
    const auto start = steady_clock::now();
    const Ending ending = transfer();
    if (ending.code == CURLE_OPERATION_TIMEDOUT && request.limit > milliseconds::zero()) {
        waitOut(start, request.limit);
    }
    const auto took = std::chrono::floor<milliseconds>(steady_clock::now() - start);
    const bool limitReached = request.limit > milliseconds::zero() && took >= request.limit;

    Result result;
    result.failure = judge(ending, limitReached);
    result.status = int(info(CURLINFO_RESPONSE_CODE));
    result.body = std::move(m_replyBody);
    if (request.watched) {
        result.transport = transport(ending.code);
    }
    if (result.failure != Failure::None) {
        result.detail = QString::fromUtf8(m_error);
        result.status = isFinalStatus(result.status) ? result.status : 0;
    }
    return result;
}

/// That of the last exchange if no reply began there and this one is of its kind. One that has read a reply
/// is not used again: it would append the next reply's first header line, when that begins with a blank, to a
/// header of the reply before, which has been freed.
void Exchange::takeHandle(const Kind& kind)
{
    if (m_easy && m_headBytes == 0 && kind == m_kind && !kind.watched) {
        return;
    }
    m_used = std::move(m_easy);
    if (!m_spare) {
        prepareSpare();
    }
    m_easy = std::move(m_spare);
    m_kind = kind;
    if (m_easy) {
        applyKind();
    }
}

/// Lets the used handle go and makes the next one.
void Exchange::prepareSpare()
{
    m_used.reset();
    if (!m_spare && m_prototype) {
        m_spare.reset(curl_easy_duphandle(m_prototype.get()));
    }
}

/// Tells a fresh handle what is not so by itself.
void Exchange::applyKind()
{
    CURL* easy = m_easy.get();
    if (m_kind.post || m_kind.body) {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
    }
    if (m_kind.body && !m_kind.post) {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, "GET");
    }
    if (m_kind.close) {
        curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    }
    if (m_kind.watched) {
        curl_easy_setopt(easy, CURLOPT_CERTINFO, 1L);
    }
}

Exchange::Ending Exchange::transfer()
{
    Ending ending;
    const Cancellation::Watch watch(m_multi.get());
    CURLMcode fault = curl_multi_add_handle(m_multi.get(), m_easy.get());
    int running = 1;
    bool prepared = false;
    while (fault == CURLM_OK && !watch.isCanceled()) {
        fault = curl_multi_perform(m_multi.get(), &running);
        if (fault != CURLM_OK || running == 0) {
            break;
        }
        if (!prepared && info(CURLINFO_REQUEST_SIZE) > 0) {
            // The request is with the site: time that nobody waits for.
            prepareSpare();
            prepared = true;
        }
        fault = curl_multi_poll(m_multi.get(), nullptr, 0, PollMilliseconds, nullptr);
    }
    ending.canceled = running != 0 && watch.isCanceled();
    ending.code = fault == CURLM_OK ? transferCode() : CURLE_FAILED_INIT;
    curl_multi_remove_handle(m_multi.get(), m_easy.get());
    return ending;
}

CURLcode Exchange::transferCode()
{
    int left = 0;
    const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left);
    return message != nullptr && message->msg == CURLMSG_DONE ? message->data.result : CURLE_FAILED_INIT;
}

Failure Exchange::judge(const Ending& ending, bool limitReached) const
{
    constexpr long proxyAuthenticationRequired = 407;
    if (ending.canceled) {
        return Failure::Canceled;
    }
    if (ending.code == CURLE_OPERATION_TIMEDOUT && limitReached) {
        return Failure::Timeout;
    }
    if (m_tooLarge) {
        return Failure::TooLarge;
    }
    if (ending.code != CURLE_OK && info(CURLINFO_HTTP_CONNECTCODE) == proxyAuthenticationRequired) {
        return Failure::ProxyDenied;
    }
    if (ending.code == CURLE_COULDNT_CONNECT && m_proxied) {
        return Failure::ProxyUnreachable;
    }
    // libcurl is content with a connection that ends within the head.
    if (ending.code == CURLE_OK && (!m_headEnded || !isFinalStatus(info(CURLINFO_RESPONSE_CODE)))) {
        return Failure::Closed;
    }
    return failureOf(ending.code, info(CURLINFO_OS_ERRNO));
}

long Exchange::info(CURLINFO what) const
{
    long value = 0;
    curl_easy_getinfo(m_easy.get(), what, &value);
    return value;
}

/// Of the reply's body, as far as it may be taken; 0 when the reply does not say. A compressed body is
/// longer.
qsizetype Exchange::announcedLength() const
{
    curl_off_t length = -1;
    curl_easy_getinfo(m_easy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    return qsizetype(std::clamp(length, curl_off_t{0}, curl_off_t(std::min(m_maxReplyBytes, MostAhead))));
}

size_t Exchange::onBody(char* bytes, size_t size, size_t count, void* exchange)
{
    auto* self = static_cast<Exchange*>(exchange);
    const size_t length = size * count;
    const size_t accepted = std::min(length, self->m_maxReplyBytes - size_t(self->m_replyBody.size()));
    try {
        if (self->m_replyBody.isEmpty()) {
            self->m_replyBody.reserve(self->announcedLength());
        }
        self->m_replyBody.append(bytes, qsizetype(accepted));
    } catch (const std::bad_alloc&) {  // must not pass through libcurl
        self->m_tooLarge = true;
        return 0;
    }
    self->m_tooLarge = accepted < length;
    return accepted;
}

size_t Exchange::onHeader(char* bytes, size_t size, size_t count, void* exchange)
{
    auto* self = static_cast<Exchange*>(exchange);
    const std::string_view line(bytes, size * count);
    self->m_headBytes += line.size();
    // A head of its own follows that of an interim reply, and trailers may follow the body.
    self->m_headEnded = (self->m_headEnded && !line.starts_with("HTTP/")) || line == "\r\n" || line == "\n";
    self->m_tooLarge = self->m_headBytes > MostHeadBytes;
    return self->m_tooLarge ? 0 : line.size();
}
