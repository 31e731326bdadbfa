#include "httpclient.h"

#include <fstream>
#include <gtest/gtest.h>
#include <zlib.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString milk = u"0104607026010011215rhTuv\u001d93VBOs"_s;

/// Peak of the process's memory so far, in KiB.
long peakMemory(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string word; status >> word;) {
        long size = 0;
        if (word == "VmHWM:" && status >> size)
            return size;
    }
    return -1;
}

bool isJson(const std::string& body)
{
    return !toObject(body).isEmpty();
}

}  // namespace

/// Each fault as a client sees it: how the exchange ends, the status, and the body.
TEST(Faults, LookToTheClientAsTheyAreMeant)
{
    struct Case
    {
        std::string behaviour;
        CURLcode result;
        long status;
        std::function<bool(const std::string&)> body = [](const std::string&) { return true; };
    };
    const auto empty = [](const std::string& body) { return body.empty(); };
    const auto normal = [](const std::string& body) { return toObject(body)["code"_L1].toInt(-1) == 0; };
    const auto rubbish = [](const std::string& body) { return !body.empty() && !isJson(body); };
    const auto says = [](const std::string& text) {
        return [text](const std::string& body) { return body == text; };
    };
    const std::vector<Case> cases = {
        {"[]", CURLE_OK, 200, normal},
        {R"({"status": 203})", CURLE_OK, 203},
        {R"({"status": 404, "text": "gone"})", CURLE_OK, 404, says("gone")},
        {R"({"status": 503, "body": {"code": 5000}})", CURLE_OK, 503, says(R"({"code":5000})")},
        {R"({"status": 599})", CURLE_OK, 599},
        {R"({"status": 204})", CURLE_OK, 204, empty},
        {R"({"payload": "empty"})", CURLE_OK, 200, empty},
        {R"({"payload": "malformed"})", CURLE_OK, 200, rubbish},
        {R"({"set": {"/code": "0", "/codes/0/valid": "yes"}, "remove": ["/version", "/codes/*/found"]})",
         CURLE_OK, 200,
         [](const std::string& body) {
             const auto object = toObject(body);
             const auto entry = object["codes"_L1][0].toObject();
             return object["code"_L1] == u"0"_s && !object.contains("version"_L1) &&
                    entry["valid"_L1] == u"yes"_s && !entry.contains("found"_L1) && entry["cis"_L1] == milk;
         }},
        {R"({"cut": {"after": 0}})", CURLE_GOT_NOTHING, 0},
        {R"({"cut": {"after": 0, "by": "reset"}})", CURLE_RECV_ERROR, 0},
        {R"({"cut": {"after": 30}})", CURLE_OK, 200, empty},
        {R"({"cut": {"after": "head"}})", CURLE_PARTIAL_FILE, 200, empty},
        {R"({"cut": {"after": "head", "by": "reset"}})", CURLE_RECV_ERROR, 200, empty},
        {R"({"cut": {"after": "head", "by": "stall"}})", CURLE_OPERATION_TIMEDOUT, 200, empty},
        {R"({"cut": {"after": 300, "by": "close"}})", CURLE_PARTIAL_FILE, 200, rubbish},
        {R"({"cut": {"after": "reply", "by": "reset"}})", CURLE_OK, 200, normal},
        {R"({"silent": true})", CURLE_OPERATION_TIMEDOUT, 0},
        {R"({"connect": "silent"})", CURLE_OPERATION_TIMEDOUT, 0},
        {R"({"connect": "reset"})", CURLE_RECV_ERROR, 0},
        {R"({"connect": "close"})", CURLE_GOT_NOTHING, 0},
        {R"({"connect": "refuse"})", CURLE_COULDNT_CONNECT, 0},
        {R"({"connect": "unanswered"})", CURLE_OPERATION_TIMEDOUT, 0},
        {R"({"framing": "chunked"})", CURLE_OK, 200, normal},
        {R"({"framing": "chunked", "payload": "empty"})", CURLE_OK, 200, empty},
        {R"({"framing": "bad-chunks"})", CURLE_RECV_ERROR, 200, empty},
        {R"({"framing": "until-close"})", CURLE_OK, 200, normal},
        {R"({"framing": "short-length"})", CURLE_OK, 200, rubbish},
        {R"({"framing": "long-length"})", CURLE_PARTIAL_FILE, 200, normal},
        {R"({"encoding": "gzip"})", CURLE_OK, 200, normal},
        {R"({"encoding": "gzip", "framing": "chunked", "padMegabytes": 1})", CURLE_OK, 200, normal},
        {R"({"encoding": "lying-gzip"})", CURLE_BAD_CONTENT_ENCODING, 200},
        {R"({"padMegabytes": 1})", CURLE_OK, 200, normal},
        {R"({"raw": "nonsense\r\n\r\n"})", CURLE_UNSUPPORTED_PROTOCOL, 0},
        {R"({"raw": "HTTP/1.1 103 Early Hints\r\n\r\nHTTP/1.1 201 Made\r\nContent-Length: 2\r\n\r\n{}"})",
         CURLE_OK, 201, says("{}")},
        {R"({"rawBase64": "SFRUUC8xLjEgMjAwIE9LDQoNCv8="})", CURLE_OK, 200, says("\xff")},
    };
    const StandProcess stand;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.behaviour);
        StandClient client(stand);
        client.behave("site-1", c.behaviour);
        client.setGzip(true);
        if (c.result == CURLE_OPERATION_TIMEDOUT)
            client.setTimeout(c.status == 0 ? 100ms : 1000ms);
        const auto reply = client.check({milk});
        EXPECT_EQ(reply.result, c.result) << curl_easy_strerror(reply.result);
        EXPECT_EQ(reply.status, c.status);
        EXPECT_TRUE(c.body(reply.body)) << reply.body.substr(0, 500);
    }
}

TEST(Faults, HeadersAreAddedReplacedAndLeftOut)
{
    const StandProcess stand;
    StandClient client(stand);
    client.behave(
        "site-1",
        R"({"headers": {"Location": "http://elsewhere/", "content-type": "text/plain", "Date": null}})");
    const auto reply = client.health();
    EXPECT_TRUE(reply.hasHeader("Location: http://elsewhere/"));
    EXPECT_TRUE(reply.hasHeader("content-type: text/plain"));
    EXPECT_FALSE(reply.hasHeader("Content-Type: application/json;charset=UTF-8"));
    for (const auto& header : reply.headers)
        EXPECT_FALSE(header.starts_with("Date:"));
}

TEST(Faults, ApplyInOrderToTheirMethodForTheirCount)
{
    const StandProcess stand;
    StandClient client(stand);
    client.behave("site-1", R"([{"method": "check", "status": 500, "times": 2},
                                {"status": 429, "times": 1},
                                {"method": "check", "status": 403}])");
    const auto list = [&client] {
        return client.admin("GET", "/behaviours/site-1").object()["site-1"_L1].toArray();
    };
    EXPECT_EQ(client.check({}).status, 500);
    EXPECT_EQ(list()[0]["times"_L1].toInt(), 1);
    EXPECT_EQ(client.health().status, 429);
    EXPECT_EQ(client.health().status, 200);
    EXPECT_EQ(client.check({}).status, 500);
    EXPECT_EQ(client.check({}).status, 403);
    EXPECT_EQ(client.check({}).status, 403);
    EXPECT_EQ(list().size(), 1);
    EXPECT_EQ(client.check({}, "site-2").status, 200);
}

TEST(Faults, AConnectionThatIsCountedIsTreatedOnceThenNormally)
{
    const StandProcess stand;
    StandClient client(stand);
    client.behave("sites", R"({"connect": "reset", "times": 1})");
    EXPECT_EQ(client.health().result, CURLE_RECV_ERROR);
    EXPECT_EQ(client.health().status, 200);
}

TEST(Faults, ARefusedPortComesBackAsTheSameAndOpenConnectionsAreReset)
{
    const StandProcess stand;
    StandClient client(stand);
    StandClient admin(stand);
    EXPECT_EQ(client.health().status, 200);
    for (const auto* door : {R"({"connect": "refuse"})", R"({"connect": "unanswered"})"}) {
        admin.behave("site-1", door);
        client.setTimeout(200ms);
        EXPECT_NE(client.health().result, CURLE_OK) << door;
        client.setTimeout(20s);
        EXPECT_EQ(admin.admin("DELETE", "/behaviours/site-1").status, 200);
        EXPECT_EQ(client.health().status, 200) << door;
    }
}

TEST(Faults, DelayTheReplyAtLeastAsLongAsTheySay)
{
    const StandProcess stand;
    StandClient client(stand);
    client.behave("site-1", R"({"latencyMs": 60, "jitterMs": 5})");
    EXPECT_GE(client.health().elapsed, 60ms);
    client.behave("site-1", R"({"text": "0123456789", "drip": {"bytes": 2, "everyMs": 20}})");
    const auto dripped = client.health();
    EXPECT_EQ(dripped.body, "0123456789");
    EXPECT_GE(dripped.elapsed, 80ms);
}

TEST(Faults, ABodyOfManyMegabytesIsWholeAndCostsNoMemory)
{
    constexpr std::size_t megabytes = 64;
    const StandProcess stand;
    StandClient client(stand);
    client.behave("site-1", R"({"padMegabytes": 64})");
    const auto before = peakMemory(stand.pid());
    const auto reply = client.check({milk});
    EXPECT_GT(reply.body.size(), megabytes << 20);
    EXPECT_EQ(reply.object()["codes"_L1][0]["cis"_L1].toString(), milk);
    const auto grown = peakMemory(stand.pid()) - before;
    ASSERT_GT(before, 0);
    EXPECT_LT(grown, 8 * 1024);
}
