// The bytes of an HTTP reply: a server on the loopback interface sends the input and ends the connection.

#include <mutex>
#include <thread>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "fuzz/fuzz.h"
#include "result/requeststatus.h"
#include <config/config.h>

using fuzz::require;

namespace {

constexpr int MaxReplyBytes = 64 * 1024;

std::mutex replyMutex;
QByteArray replyBytes;

[[noreturn]] void serve(int listening)
{
    for (;;) {
        const int connection = accept(listening, nullptr, nullptr);
        char request[4096];
        (void)recv(connection, request, sizeof request, 0);
        const QByteArray bytes = [] {
            const std::lock_guard lock(replyMutex);
            return replyBytes;
        }();
        (void)send(connection, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL);
        (void)shutdown(connection, SHUT_WR);
        while (recv(connection, request, sizeof request, 0) > 0) {
        }
        close(connection);
    }
}

/// Starts a server that lives as long as the process and answers with `replyBytes`.
QUrl startServer()
{
    const int listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    require(bind(listening, any, length) == 0 && listen(listening, 8) == 0 &&
                getsockname(listening, any, &length) == 0,
            "there is a port to listen on");
    std::thread(serve, listening).detach();
    return QUrl(QStringLiteral("http://127.0.0.1:%1/codes").arg(ntohs(address.sin_port)));
}

void check(const http::Response& response, const QByteArray& sent)
{
    const bool complete = !response.isTimeout() && !response.isNetworkError();
    require(!response.isTimeout() || !response.isNetworkError(), "an exchange ends in one way");
    require(response.body().size() <= MaxReplyBytes, "a reply is no larger than allowed");
    require(response.status() >= (complete ? 200 : 0) && response.status() <= 999, "a status is a final one");
    require(!complete || sent.contains("\n\r\n") || sent.contains("\n\n"),
            "a complete reply has a whole head");
    require(response.networkError() != http::NetworkError::None || (complete && response.status() < 400),
            "what failed has an error's number");
    require(response.errorText().isEmpty() == (response.networkError() == http::NetworkError::None),
            "what failed says so");
    require(complete || requestStatusOf(response) != RequestStatus::Ok, "what is cut short is not ok");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QUrl url = startServer();
    static auto* const client = [] {
        Singleton<Config>::instance()->setValue(QStringLiteral("Network:maxReplyBytes"),
                                                QString::number(MaxReplyBytes));
        return new RestClient;
    }();
    const QByteArray bytes = fuzz::bytesOf(data, size);
    {
        const std::lock_guard lock(replyMutex);
        replyBytes = bytes;
    }
    client->setTimeout(std::chrono::seconds(5));
    check(client->get(url, {}, {{QStringLiteral("Connection"), QStringLiteral("close")}}), bytes);
    return 0;
}
