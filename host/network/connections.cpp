#include <network/connections.h>

#include <limits>

#include <sys/socket.h>
#include <unistd.h>

#include <QFile>
#include <openssl/crypto.h>

namespace {

/// A router may forget a connection that is idle for longer, and tells nobody.
constexpr long maxIdleSeconds = 15;
constexpr long keepAliveSeconds = 5;

/// Frees what OpenSSL keeps for this thread; OpenSSL makes it anew when it is needed. It would be freed as
/// the thread ends, but QThread::wait() returns a moment before that, and the process may end then.
void freeThreadState()
{
    OPENSSL_thread_stop();
}

CURLcode initialise()
{
    const CURLcode code = curl_global_init(CURL_GLOBAL_DEFAULT);
    freeThreadState();
    return code;
}

}  // namespace

Connections::Connections(const QString& caFile, const QString& proxy)
    : m_throughProxy(!proxy.isEmpty())
{
    [[maybe_unused]] static const CURLcode initialised = initialise();
    m_prototype.reset(curl_easy_init());
    CURL* easy = m_prototype.get();  // null without memory: then nothing is set
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // Without it a slow name look-up is waited for to its end, whatever the limit.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    if (!caFile.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, QFile::encodeName(caFile).constData());
        curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    }
    // Set even when empty: otherwise the environment's variables are in force.
    curl_easy_setopt(easy, CURLOPT_PROXY, proxy.toUtf8().constData());
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
    // The limit of the whole exchange is the only one.
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, long(std::numeric_limits<int>::max()));
    curl_easy_setopt(easy, CURLOPT_MAXAGE_CONN, maxIdleSeconds);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPALIVE, 1L);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPIDLE, keepAliveSeconds);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPINTVL, keepAliveSeconds);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &Connections::openSocket);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, &Connections::closeSocket);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, this);
}

Connections::~Connections()
{
    m_multi.reset();
    m_prototype.reset();
    freeThreadState();
}

CurlEasy Connections::newHandle() const
{
    return CurlEasy(m_prototype ? curl_easy_duphandle(m_prototype.get()) : nullptr);
}

CURLM* Connections::forNextExchange()
{
    if (!m_multi || ::poll(m_sockets.data(), m_sockets.size(), 0) != 0) {
        m_multi.reset(curl_multi_init());
    }
    return m_multi.get();
}

curl_socket_t Connections::openSocket(void* connections, curlsocktype, curl_sockaddr* address)
{
    const int socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (socket >= 0) {
        static_cast<Connections*>(connections)->m_sockets.push_back({socket, POLLIN, 0});
    }
    return socket;
}

int Connections::closeSocket(void* connections, curl_socket_t socket)
{
    std::erase_if(static_cast<Connections*>(connections)->m_sockets,
                  [socket](const pollfd& open) { return open.fd == socket; });
    return ::close(socket);
}
