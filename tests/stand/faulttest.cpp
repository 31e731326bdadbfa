#include "tests/stand/standtest.h"

using namespace std::chrono_literals;
using Faults = StandTest;

namespace {

using Body = std::function<bool(const HttpReply&)>;

const Body normal = [](const HttpReply& reply) { return reply.json()["code"] == 0; };
const Body rubbish = [](const HttpReply& reply) {
    return !reply.body.isEmpty() && reply.json().toObject().isEmpty();
};
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

}  // namespace

/// Most ways to end an exchange, to frame a body and to fail a handshake are seen by tests/host.
TEST_F(Faults, LookToTheClientAsTheyAreMeant)
{
    const std::tuple<const char*, long, Body> cases[] = {
        {"[]", 200, normal},
        {R"({"status": 599, "text": "gone"})", 599, says("gone")},
        {R"({"headers": {"Location": "http://elsewhere/", "content-type": "a/b", "Date": null}})", 200,
         headed},
        {R"({"payload": "empty"})", 200, says("")},
        {R"({"payload": "malformed"})", 200, rubbish},
        {R"({"set": {"/code": "0", "/codes/0/valid": "yes"}, "remove": ["/version", "/codes/*/found"]})", 200,
         edited},
        {R"({"cut": {"after": "reply", "by": "reset"}})", 200, normal},
    };
    for (const auto& [behaviour, status, body] : cases) {
        stand.behave("site-1", behaviour);
        const HttpReply reply = StandClient(stand).check({milk});
        EXPECT_EQ(reply.result, CURLE_OK) << behaviour << curl_easy_strerror(reply.result);
        EXPECT_EQ(reply.status, status) << behaviour;
        EXPECT_TRUE(body(reply)) << behaviour << reply.body.left(500).data();
    }
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
