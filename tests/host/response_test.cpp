#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include <network/response.h>

namespace {

TEST(Response, HasAnObjectOnlyForAnObject)
{
    http::Response response;
    EXPECT_TRUE(response.responseObject().isEmpty());
    for (const char* body : {"", "[1]", "1", "{\"a\":", "<html>", "{\"a\":1} x"}) {
        response.setBody(body);
        EXPECT_TRUE(response.responseObject().isEmpty()) << body;
        EXPECT_EQ(response.body(), body);
    }
    response.setBody("{\"a\":1}");
    EXPECT_EQ(response.responseObject(), QJsonObject({{QStringLiteral("a"), 1}}));
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

TEST(Response, CopiesMayBeReadInSeveralThreads)
{
    http::Response original;
    original.setBody("{\"a\":1}");
    std::vector<std::thread> readers;
    readers.reserve(4);
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([copy = original] { EXPECT_EQ(copy.responseObject()[u"a"], 1); });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
}

}  // namespace
