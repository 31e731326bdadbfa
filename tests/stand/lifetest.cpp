#include "httpclient.h"

#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// A bare connection to one server.
class Connection
{
public:
    explicit Connection(const std::string& url)
        : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1))));
        EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ~Connection() { close(socket_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void send(const std::string& bytes) const
    {
        EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    [[nodiscard]] int descriptor() const { return socket_; }

private:
    int socket_;
};

const std::string healthRequest = "GET /api/v4/true-api/cdn/health/check HTTP/1.1\r\nHost: x\r\n";

}  // namespace

TEST(Life, EndsCleanlyWithConnectionsHangingInEveryState)
{
    for (const int number : {SIGINT, SIGTERM}) {
        StandProcess stand({"--tls"});
        StandClient client(stand);
        const auto module = stand.url("module-1");
        const std::filesystem::path caFile = stand.ready()["caFile"_L1].toString().toStdString();
        EXPECT_TRUE(std::filesystem::exists(caFile));
        client.behave("module-1", R"([{"silent": true, "times": 1}, {"latencyMs": 3600000, "times": 1},
                                      {"padMegabytes": 64}])");
        const Connection silent(module), delayed(module), flooded(module), idle(module), half(module);
        const Connection handshake(stand.url("site-1"));
        for (const auto* connection : {&silent, &delayed, &flooded})
            connection->send(healthRequest + "\r\n");
        half.send(healthRequest);
        while (client.requests("module-1").size() < 3) {
        }
        stand.signal(number);
        EXPECT_EQ(stand.exitStatus(), 0);
        EXPECT_EQ(stand.restOfOutput(), "") << "one line is all that goes to standard output";
        EXPECT_EQ(stand.errors(), "");
        EXPECT_FALSE(std::filesystem::exists(caFile.parent_path()));
    }
}

TEST(Life, EndsWithItsParentWhenAsked)
{
    std::array<int, 2> output{};
    ASSERT_EQ(pipe2(output.data(), O_CLOEXEC), 0);
    const auto parent = fork();
    if (parent == 0) {
        dup2(output[1], STDOUT_FILENO);
        execl("/bin/sh", "sh", "-c", "\"$0\" --die-with-parent & wait", MARKSIM_PROGRAM, nullptr);
        _exit(127);
    }
    close(output[1]);
    std::string line;
    for (char byte = 0; read(output[0], &byte, 1) == 1 && byte != '\n';)
        line.push_back(byte);
    EXPECT_TRUE(toObject(line)["ready"_L1].toBool()) << line;
    kill(parent, SIGKILL);
    waitpid(parent, nullptr, 0);
    // The other end of the pipe is marksim's alone now: it ends when marksim ends.
    EXPECT_EQ(readToEnd(output[0]), "");
    close(output[0]);
}

TEST(Life, ServesPipelinedAndOldRequestsAndRefusesWhatIsNone)
{
    const StandProcess stand;
    const auto key = "X-API-KEY: " + stand.key() + "\r\n";
    const auto talk = [&](const std::string& bytes) {
        const Connection connection(stand.url("site-1"));
        connection.send(bytes);
        return readToEnd(connection.descriptor());
    };
    const auto count = [](const std::string& text, const std::string& part) {
        return QString::fromStdString(text).count(QString::fromStdString(part));
    };
    const auto pipelined =
        talk(healthRequest + key + "\r\n" + healthRequest + key + "Connection: close\r\n\r\n");
    EXPECT_EQ(count(pipelined, "HTTP/1.1 200 OK"), 2);
    EXPECT_EQ(count(talk("GET /x HTTP/1.0\r\n\r\n"), "HTTP/1.1 404 Not Found"), 1);
    EXPECT_EQ(count(talk("nonsense\r\n\r\n"), "HTTP/1.1 400 Bad Request"), 1);
    EXPECT_EQ(count(talk("HEAD /x HTTP/1.1\r\nConnection: close\r\n\r\n"), "\r\n\r\n{"), 0);
}
