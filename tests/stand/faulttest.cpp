#include "tests/stand/standtest.h"
#include <QElapsedTimer>

using namespace std::chrono_literals;
using Faults = StandTest;

namespace {

using Body = std::function<bool(const HttpReply&)>;

/// A fault as a client sees it: how the exchange ends, the status, and the body.
struct Case
{
    const char* behaviour;
    CURLcode result;
    long status;
    Body body = [](const HttpReply&) { return true; };
};

const Body normal = [](const HttpReply& reply) { return reply.json()["code"] == 0; };
const Body rubbish = [](const HttpReply& reply) {
    return !reply.body.isEmpty() && reply.json().toObject().isEmpty();
};
const Body padded = [](const HttpReply& reply) { return normal(reply) && reply.body.size() > 32 << 20; };
const Body edited = [](const HttpReply& reply) {
    const QJsonValue entry = reply.json()["codes"][0];
    return reply.json()["code"] == "0" && reply.json()["version"].isUndefined() && entry["valid"] == "yes" &&
           entry["found"].isUndefined() && entry["cis"] == milk;
};
const Body headed = [](const HttpReply& reply) {
    return reply.headers.contains("Location: http://elsewhere/") && reply.headers.filter("Date:").isEmpty() &&
           reply.headers.filter("content-type:", Qt::CaseInsensitive) == QStringList{"content-type: a/b"};
};

Body says(const char* text)
{
    return [text](const HttpReply& reply) { return reply.body == text; };
}

void expectSeen(const MarkSim& stand, const Case& expected)
{
    SCOPED_TRACE(expected.behaviour);
    stand.behave("site-1", expected.behaviour);
    StandClient client(stand);
    client.gzip = true;
    if (expected.result == CURLE_OPERATION_TIMEDOUT)
        client.timeout = 1000ms;
    const HttpReply reply = client.check({milk});
    EXPECT_EQ(reply.result, expected.result) << curl_easy_strerror(reply.result);
    EXPECT_EQ(reply.status, expected.status);
    EXPECT_TRUE(expected.body(reply)) << reply.body.left(500).data();
}

}  // namespace

/// Most ways to end an exchange, to frame a body and to fail a handshake are seen by tests/faults.
TEST_F(Faults, LookToTheClientAsTheyAreMeant)
{
    const Case cases[] = {
        {"[]", CURLE_OK, 200, normal},
        {R"({"status": 599, "text": "gone"})", CURLE_OK, 599, says("gone")},
        {R"({"headers": {"Location": "http://elsewhere/", "content-type": "a/b", "Date": null}})", CURLE_OK,
         200, headed},
        {R"({"payload": "empty"})", CURLE_OK, 200, says("")},
        {R"({"payload": "malformed"})", CURLE_OK, 200, rubbish},
        {R"({"set": {"/code": "0", "/codes/0/valid": "yes"}, "remove": ["/version", "/codes/*/found"]})",
         CURLE_OK, 200, edited},
        {R"({"cut": {"after": "head"}})", CURLE_PARTIAL_FILE, 200, says("")},
        {R"({"cut": {"after": 300, "by": "stall"}})", CURLE_OPERATION_TIMEDOUT, 200, rubbish},
        {R"({"cut": {"after": "reply", "by": "reset"}})", CURLE_OK, 200, normal},
        {R"({"framing": "bad-chunks"})", CURLE_RECV_ERROR, 200, says("")},
        {R"({"framing": "short-length"})", CURLE_OK, 200, rubbish},
        {R"({"framing": "long-length"})", CURLE_PARTIAL_FILE, 200, normal},
        {R"({"encoding": "gzip", "framing": "chunked", "padMegabytes": 33})", CURLE_OK, 200, padded},
        {R"({"rawBase64": "SFRUUC8xLjEgMjAwIE9LDQoNCv8="})", CURLE_OK, 200, says("\xff")},
    };
    for (const Case& expected : cases)
        expectSeen(stand, expected);
}

TEST_F(Faults, ApplyInOrderToTheirMethodForTheirCount)
{
    stand.behave("site-1", R"([{"method": "check", "status": 500, "times": 2},
                               {"status": 429, "times": 1},
                               {"method": "check", "status": 403}])");
    EXPECT_EQ(client.check({}).status, 500);
    EXPECT_EQ(client.health().status, 429);
    EXPECT_EQ(client.health().status, 200);
    EXPECT_EQ(client.check({}).status, 500);
    EXPECT_EQ(client.check({}).status, 403);
    EXPECT_EQ(client.check({}, "site-2").status, 200);
    stand.behave("site-2", R"({"connect": "reset", "times": 1})");
    EXPECT_EQ(StandClient(stand).health("site-2").result, CURLE_RECV_ERROR);
    EXPECT_EQ(StandClient(stand).health("site-2").status, 200);
}

TEST_F(Faults, AShutDoorResetsOpenConnections)
{
    for (const char* door : {"refuse", "unanswered"}) {
        client.timeout = 30s;
        stand.behave("site-1", "[]");
        EXPECT_EQ(client.health().status, 200) << door;
        stand.behave("site-1", QJsonObject{{"connect", door}});
        client.timeout = 200ms;
        EXPECT_NE(client.health().result, CURLE_OK) << door;
    }
}

TEST_F(Faults, DelayTheReplyAtLeastAsLongAsTheySay)
{
    stand.behave("site-1", R"({"latencyMs": 60, "text": "0123456789", "drip": {"bytes": 2, "everyMs": 20}})");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(client.health().body, "0123456789");
    EXPECT_GE(timer.elapsed(), 60 + 4 * 20);
}
