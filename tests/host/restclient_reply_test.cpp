// What the client makes of the bytes that come back.
#include "scriptedserver.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/settings.h"
#include <gtest/gtest.h>
#include <network/restclient.h>

namespace {

using http::NetworkError;
using Then = ScriptedReply::Then;

QByteArray bytes(const QByteArray& head, const QByteArray& body = {})
{
    return "HTTP/1.1 " + head + "\r\n\r\n" + body;
}

QByteArray encoded(const QByteArray& encoding, const QByteArray& body)
{
    const QByteArray size = QByteArray::number(body.size());
    return bytes("200 OK\r\nContent-Encoding: " + encoding + "\r\nContent-Length: " + size, body);
}

/// The zlib stream that "deflate" stands for.
QByteArray deflated(const QByteArray& body)
{
    return qCompress(body).mid(4);
}

TEST(Reply, BecomesAResponse)
{
    const QByteArray gzipped = QByteArray::fromHex("1f8b08000000000002ffab564a54b232ac0500afac1b5607000000");
    constexpr auto Closed = NetworkError::RemoteHostClosed;
    // The failure is none when the reply is complete.
    using Case = std::tuple<const char*, ScriptedReply, int, QByteArray, std::optional<NetworkError>>;
    const Case cases[] = {
        {"length", okReply("{\"a\":1}"), 200, "{\"a\":1}", {}},
        {"longer than its length", {bytes("200 OK\r\nContent-Length: 2", "{}junk")}, 200, "{}", {}},
        {"gzip", {encoded("gzip", gzipped)}, 200, "{\"a\":1}", {}},
        {"not found", {bytes("404 Not Found\r\nContent-Length: 2", "{}")}, 404, "{}", {}},
        {"cut in an error", {bytes("500 Oops\r\nContent-Length: 9", "{}"), Then::Close}, 500, "{}", Closed},
        {"cut after continue", {bytes("100 Continue"), Then::Close}, 0, "", Closed}};
    for (const auto& [name, reply, status, body, failure] : cases) {
        SCOPED_TRACE(name);
        const ScriptedServer server{reply};
        RestClient client;
        const http::Response response = client.get(server.url(), {}, {});
        EXPECT_EQ(response.status(), status);
        EXPECT_EQ(response.isNetworkError(), failure.has_value());
        EXPECT_EQ(response.networkError(), failure.value_or(http::networkErrorOfStatus(status)));
        EXPECT_EQ(response.errorText().isEmpty(), response.networkError() == NetworkError::None);
        EXPECT_EQ(response.body(), body);
        EXPECT_EQ(client.lastError(), int(response.networkError()));
        EXPECT_EQ(server.received().size(), 1);
    }
}

TEST(Reply, IsLimitedInSizeAfterDecompression)
{
    const Settings settings = {{"Network:maxReplyBytes", "1000"}};
    for (const int size : {1000, 1001}) {
        const QByteArray body(size, 'x');
        for (const ScriptedReply& reply :
             {okReply(body), ScriptedReply{encoded("deflate", deflated(body))}}) {
            const ScriptedServer server{reply};
            const http::Response response = RestClient().get(server.url(), {}, {});
            EXPECT_EQ(response.isNetworkError(), size > 1000);
            EXPECT_EQ(response.errorText().id(), size > 1000 ? "networkReplyTooLarge" : "");
            EXPECT_EQ(response.body().size(), 1000);
        }
    }
}

TEST(HttpStatus, IsMappedToItsErrorNumber)
{
    const std::pair<int, int> numbers[] = {
        {0, 0},     {200, 0},   {203, 0},   {399, 0},   {400, 302}, {401, 204}, {402, 299}, {403, 201},
        {404, 203}, {405, 202}, {407, 105}, {409, 206}, {410, 207}, {418, 302}, {429, 299}, {499, 299},
        {500, 401}, {501, 402}, {502, 499}, {503, 403}, {504, 499}, {599, 499}};
    for (const auto& [status, number] : numbers) {
        EXPECT_EQ(int(http::networkErrorOfStatus(status)), number) << status;
    }
}

TEST(Response, CopyKeepsItsBodyWhenTheOriginalChanges)
{
    http::Response original;
    original.setBody("{\"a\":1}");
    const http::Response copy = original;
    original.setBody("{\"a\":2}");
    EXPECT_EQ(copy.responseObject()[u"a"], 1);
    EXPECT_EQ(original.responseObject()[u"a"], 2);
}

}  // namespace
