// What the client makes of the bytes that come back.
#include <gtest/gtest.h>

#include <config/config.h>
#include <network/restclient.h>

#include "printers.h"
#include "scriptedserver.h"

namespace {

using http::NetworkError;
using Then = ScriptedReply::Then;

const QHash<QString, QString> noHeaders;

struct ReplyCase
{
    const char* name;
    ScriptedReply reply;
    int status;
    bool complete;
    NetworkError error;
    QByteArray body;
};

std::ostream& operator<<(std::ostream& out, const ReplyCase& c)
{
    return out << c.name;
}

class Reply : public testing::TestWithParam<ReplyCase>
{
};

TEST_P(Reply, BecomesAResponse)
{
    const ScriptedServer server(GetParam().reply);
    RestClient client;
    const http::Response response = client.get(server.url(), {}, noHeaders);
    EXPECT_EQ(response.status(), GetParam().status);
    EXPECT_EQ(response.isNetworkError(), !GetParam().complete);
    EXPECT_FALSE(response.isTimeout());
    EXPECT_EQ(response.networkError(), GetParam().error);
    EXPECT_EQ(response.errorText().isEmpty(), GetParam().error == NetworkError::None);
    EXPECT_EQ(response.body(), GetParam().body);
    EXPECT_EQ(client.lastError(), int(GetParam().error));
    EXPECT_EQ(client.lastResponse().body(), GetParam().body);
    EXPECT_EQ(server.received().size(), 1);
}

QByteArray encoded(const char* encoding, const QByteArray& body)
{
    return QByteArray("HTTP/1.1 200 OK\r\nContent-Encoding: ") + encoding +
           "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// The zlib stream that "deflate" stands for.
QByteArray deflated(const QByteArray& body)
{
    return qCompress(body).mid(4);
}

const QByteArray gzipped =  // {"a":1}
    QByteArray::fromHex("1f8b08000000000002ffab564a54b232ac0500afac1b5607000000");

const std::vector<ReplyCase> wholeReplies = {
    {"Length", okReply("{\"a\":1}"), 200, true, NetworkError::None, "{\"a\":1}"},
    {"Chunked",
     {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n3\r\n   \r\n0\r\n\r\n"},
     200,
     true,
     NetworkError::None,
     "{}   "},
    {"EndedByClose", {"HTTP/1.1 200 OK\r\n\r\n{}", Then::Close}, 200, true, NetworkError::None, "{}"},
    {"EmptyBody", {"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"}, 200, true, NetworkError::None, ""},
    {"NoContent", {"HTTP/1.1 204 No Content\r\n\r\n"}, 204, true, NetworkError::None, ""},
    {"ContinueFirst",
     {"HTTP/1.1 100 Continue\r\n\r\n" + okReply().bytes},
     200,
     true,
     NetworkError::None,
     "{}"},
    {"Emergency",
     {"HTTP/1.1 203 Emergency\r\nContent-Length: 2\r\n\r\n{}"},
     203,
     true,
     NetworkError::None,
     "{}"},
    {"LongerThanItsLength",
     {"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}junk"},
     200,
     true,
     NetworkError::None,
     "{}"},
    {"Gzip", {encoded("gzip", gzipped)}, 200, true, NetworkError::None, "{\"a\":1}"},
    {"Deflate", {encoded("deflate", deflated("{\"b\":2}"))}, 200, true, NetworkError::None, "{\"b\":2}"},
    {"RedirectNotFollowed",
     {"HTTP/1.1 302 Found\r\nLocation: /elsewhere\r\nContent-Length: 0\r\n\r\n"},
     302,
     true,
     NetworkError::None,
     ""},
    {"NotFound",
     {"HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\n{}"},
     404,
     true,
     NetworkError::ContentNotFound,
     "{}"},
    {"ServerError",
     {"HTTP/1.1 503 Busy\r\nContent-Length: 2\r\n\r\n{}"},
     503,
     true,
     NetworkError::ServiceUnavailable,
     "{}"},
};

const std::vector<ReplyCase> brokenReplies = {
    {"Nothing", {"", Then::Close}, 0, false, NetworkError::RemoteHostClosed, ""},
    {"ResetAtOnce", {"", Then::Reset}, 0, false, NetworkError::RemoteHostClosed, ""},
    {"CutInBody",
     {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{\"a\"", Then::Close},
     200,
     false,
     NetworkError::RemoteHostClosed,
     "{\"a\""},
    {"CutInBodyOfAnError",
     {"HTTP/1.1 500 Oops\r\nContent-Length: 9\r\n\r\n{", Then::Close},
     500,
     false,
     NetworkError::RemoteHostClosed,
     "{"},
    {"CutInChunk",
     {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n9\r\n{}", Then::Close},
     200,
     false,
     NetworkError::RemoteHostClosed,
     "{}"},
    {"CutBeforeLastChunk",
     {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n", Then::Close},
     200,
     false,
     NetworkError::RemoteHostClosed,
     "{}"},
    {"CutAfterContinue",
     {"HTTP/1.1 100 Continue\r\n\r\n", Then::Close},
     0,
     false,
     NetworkError::RemoteHostClosed,
     ""},
    {"BadChunkSize",
     {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n{}\r\n", Then::Close},
     200,
     false,
     NetworkError::RemoteHostClosed,
     ""},
    {"NotHttp", {"SSH-2.0-OpenSSH\r\n", Then::Close}, 0, false, NetworkError::ProtocolFailure, ""},
    {"GzipGarbage",
     {encoded("gzip", "no gzip at all, really"), Then::Close},
     200,
     false,
     NetworkError::ProtocolFailure,
     ""},
    {"UnknownEncoding", {encoded("rot13", "{}"), Then::Close}, 200, false, NetworkError::ProtocolFailure, ""},
    {"EndlessHead",
     {"HTTP/1.1 200 OK\r\n" + QByteArray("X-Filler: 0123456789abcdef\r\n").repeated(20000)},
     200,
     false,
     NetworkError::ProtocolFailure,
     ""},
};

const auto caseName = [](const auto& info) { return std::string(info.param.name); };
INSTANTIATE_TEST_SUITE_P(Whole, Reply, testing::ValuesIn(wholeReplies), caseName);
INSTANTIATE_TEST_SUITE_P(Broken, Reply, testing::ValuesIn(brokenReplies), caseName);

class ReplySize : public testing::Test
{
protected:
    void SetUp() override
    {
        Singleton<Config>::instance()->setValue(QStringLiteral("Network:maxReplyBytes"),
                                                QStringLiteral("1000"));
    }
    void TearDown() override { Singleton<Config>::instance()->clear(); }
};

TEST_F(ReplySize, IsLimitedAfterDecompression)
{
    const struct
    {
        ScriptedReply reply;
        bool fits;
    } cases[] = {
        {okReply(QByteArray(1000, 'x')), true},
        {okReply(QByteArray(1001, 'x')), false},
        {{"HTTP/1.1 200 OK\r\nContent-Length: 999999999999\r\n\r\n" + QByteArray(2000, 'x'), Then::Silence},
         false},
        {{encoded("deflate", deflated(QByteArray(1000, 'x')))}, true},
        {{encoded("deflate", deflated(QByteArray(50'000'000, 'x')))}, false},
    };
    for (const auto& [reply, fits] : cases) {
        const ScriptedServer server(reply);
        RestClient client;
        const http::Response response = client.get(server.url(), {}, noHeaders);
        EXPECT_EQ(response.isNetworkError(), !fits);
        EXPECT_EQ(response.networkError(), fits ? NetworkError::None : NetworkError::ProtocolFailure);
        EXPECT_EQ(response.errorText().id(), fits ? QString() : QStringLiteral("networkReplyTooLarge"));
        EXPECT_EQ(response.body().size(), 1000);
        EXPECT_EQ(response.status(), 200);
    }
}

TEST(HttpStatus, IsMappedToItsErrorNumber)
{
    const QMap<int, int> numbers = {{0, 0},     {200, 0},   {203, 0},   {399, 0},   {400, 302}, {401, 204},
                                    {402, 299}, {403, 201}, {404, 203}, {405, 202}, {407, 105}, {409, 206},
                                    {410, 207}, {418, 302}, {429, 299}, {499, 299}, {500, 401}, {501, 402},
                                    {502, 499}, {503, 403}, {504, 499}, {599, 499}};
    for (auto row = numbers.begin(); row != numbers.end(); ++row) {
        EXPECT_EQ(int(http::networkErrorOfStatus(row.key())), row.value()) << row.key();
    }
}

}  // namespace
