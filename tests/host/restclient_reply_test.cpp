// What the client makes of the bytes that come back.
#include "scriptedserver.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/settings.h"
#include <gtest/gtest.h>
#include <network/restclient.h>

namespace {

TEST(Reply, IsLimitedInSizeAfterDecompression)
{
    const Settings settings = {{"Network:maxReplyBytes", "1000"}};
    for (const int size : {1000, 1001}) {
        const QByteArray body(size, 'x');
        const QByteArray deflated = qCompress(body).mid(4);
        const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Encoding: deflate\r\nContent-Length: ";
        const QByteArray packed = head + QByteArray::number(deflated.size()) + "\r\n\r\n" + deflated;
        for (const ScriptedReply& reply : {okReply(body), ScriptedReply{packed}}) {
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
