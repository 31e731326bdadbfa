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
    const QByteArray chunked = "200 OK\r\nTransfer-Encoding: chunked";
    const QByteArray nine = "200 OK\r\nContent-Length: 9";
    const QByteArray gzipped = QByteArray::fromHex("1f8b08000000000002ffab564a54b232ac0500afac1b5607000000");
    const QByteArray filler = QByteArray("\r\nX-Filler: 0123456789abcdef").repeated(20000);
    constexpr auto Closed = NetworkError::RemoteHostClosed;
    constexpr auto Failure = NetworkError::ProtocolFailure;
    // The failure is none when the reply is complete.
    using Case = std::tuple<const char*, ScriptedReply, int, QByteArray, std::optional<NetworkError>>;
    const Case cases[] = {
        {"length", okReply("{\"a\":1}"), 200, "{\"a\":1}", {}},
        {"chunks", {bytes(chunked, "2\r\n{}\r\n3\r\n   \r\n0\r\n\r\n")}, 200, "{}   ", {}},
        {"ended by close", {bytes("200 OK", "{}"), Then::Close}, 200, "{}", {}},
        {"empty body", okReply(""), 200, "", {}},
        {"no content", {bytes("204 No Content")}, 204, "", {}},
        {"continue first", {bytes("100 Continue") + okReply().bytes}, 200, "{}", {}},
        {"emergency", {bytes("203 Emergency\r\nContent-Length: 2", "{}")}, 203, "{}", {}},
        {"longer than its length", {bytes("200 OK\r\nContent-Length: 2", "{}junk")}, 200, "{}", {}},
        {"gzip", {encoded("gzip", gzipped)}, 200, "{\"a\":1}", {}},
        {"deflate", {encoded("deflate", deflated("{\"b\":2}"))}, 200, "{\"b\":2}", {}},
        {"redirect", {bytes("302 Found\r\nLocation: /x\r\nContent-Length: 0")}, 302, "", {}},
        {"not found", {bytes("404 Not Found\r\nContent-Length: 2", "{}")}, 404, "{}", {}},
        {"server error", {bytes("503 Busy\r\nContent-Length: 2", "{}")}, 503, "{}", {}},
        {"nothing", {"", Then::Close}, 0, "", Closed},
        {"cut in the body", {bytes(nine, "{\"a\""), Then::Close}, 200, "{\"a\"", Closed},
        {"cut in an error", {bytes("500 Oops\r\nContent-Length: 9", "{"), Then::Close}, 500, "{", Closed},
        {"cut in a chunk", {bytes(chunked, "9\r\n{}"), Then::Close}, 200, "{}", Closed},
        {"cut before the last chunk", {bytes(chunked, "2\r\n{}\r\n"), Then::Close}, 200, "{}", Closed},
        {"cut in the head", {"HTTP/1.1 200 OK\r\nContent", Then::Close}, 200, "", Closed},
        {"cut after continue", {bytes("100 Continue"), Then::Close}, 0, "", Closed},
        {"bad chunk size", {bytes(chunked, "zz\r\n{}\r\n"), Then::Close}, 200, "", Closed},
        {"not HTTP", {"SSH-2.0-OpenSSH\r\n", Then::Close}, 0, "", Failure},
        {"gzip garbage", {encoded("gzip", "no gzip at all, really"), Then::Close}, 200, "", Failure},
        {"unknown encoding", {encoded("rot13", "{}"), Then::Close}, 200, "", Failure},
        {"endless head", {"HTTP/1.1 200 OK" + filler}, 200, "", Failure}};
    for (const auto& [name, reply, status, body, failure] : cases) {
        SCOPED_TRACE(name);
        const ScriptedServer server{reply};
        RestClient client;
        const http::Response response = client.get(server.url(), {}, {});
        EXPECT_EQ(response.status(), status);
        EXPECT_EQ(response.isNetworkError(), failure.has_value());
        EXPECT_FALSE(response.isTimeout());
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
    const QByteArray endless = bytes("200 OK\r\nContent-Length: 999999999999", QByteArray(2000, 'x'));
    const std::pair<ScriptedReply, bool> cases[] = {
        {okReply(QByteArray(1000, 'x')), true},
        {okReply(QByteArray(1001, 'x')), false},
        {{endless, Then::Silence}, false},
        {{encoded("deflate", deflated(QByteArray(1000, 'x')))}, true},
        {{encoded("deflate", deflated(QByteArray(50'000'000, 'x')))}, false}};
    for (const auto& [reply, fits] : cases) {
        const ScriptedServer server{reply};
        const http::Response response = RestClient().get(server.url(), {}, {});
        EXPECT_EQ(response.isNetworkError(), !fits);
        EXPECT_EQ(response.errorText().id(), fits ? "" : "networkReplyTooLarge");
        EXPECT_EQ(response.body().size(), 1000);
        EXPECT_EQ(response.status(), 200);
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
