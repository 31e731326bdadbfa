#include "crpt/requeststatus.h"

#include <QJsonDocument>

#include "crpt/crptclient.h"
#include "tests/doubles/scriptedclient.h"
#include <gmock/gmock.h>

namespace {

http::Response replyOf(int status, const char* body)
{
    http::Response response;
    response.setStatus(status);
    response.setBody(body);
    return response;
}

TEST(Reply, IsClassedByStatusThenByExchangeThenByBody)
{
    constexpr const char* ok = R"({"code": 0, "description": "ok"})";
    constexpr const char* foreign = R"({"code": 5000})";
    struct Case
    {
        http::Response response;
        RequestStatus status;
    };
    const Case cases[] = {
        {replyOf(200, ok), RequestStatus::Ok},
        {replyOf(204, ok), RequestStatus::Ok},
        {replyOf(302, ok), RequestStatus::Ok},
        {replyOf(600, ok), RequestStatus::Ok},
        {replyOf(200, R"({"code": 0, "description": "OK"})"), RequestStatus::Failed},
        {replyOf(200, R"({"code": 0})"), RequestStatus::Failed},
        {replyOf(200, R"({"code": 1, "description": "ok"})"), RequestStatus::Failed},
        {replyOf(200, R"({"code": "0", "description": "ok"})"), RequestStatus::Failed},
        {replyOf(200, R"({"code": null, "description": "ok"})"), RequestStatus::Failed},
        {replyOf(200, R"({"description": "ok"})"), RequestStatus::Failed},
        {replyOf(200, foreign), RequestStatus::Failed},
        {replyOf(200, ""), RequestStatus::Failed},
        {replyOf(203, ok), RequestStatus::Emergency},
        {timedOut(203), RequestStatus::Emergency},
        {replyOf(400, ok), RequestStatus::ProtocolError},
        {replyOf(401, ok), RequestStatus::IncorrectToken},
        {cutOff(401), RequestStatus::IncorrectToken},
        {replyOf(402, foreign), RequestStatus::ProtocolError},
        {replyOf(403, ok), RequestStatus::NetworkError},
        {replyOf(404, ok), RequestStatus::NetworkError},
        {timedOut(404), RequestStatus::NetworkError},
        {replyOf(405, ok), RequestStatus::ProtocolError},
        {replyOf(428, ok), RequestStatus::ProtocolError},
        {replyOf(429, ok), RequestStatus::ServerError},
        {replyOf(429, foreign), RequestStatus::ServerError},
        {replyOf(499, ok), RequestStatus::ProtocolError},
        {replyOf(500, ok), RequestStatus::ServerError},
        {replyOf(500, foreign), RequestStatus::CrossBorderUnavailable},
        {replyOf(503, ""), RequestStatus::ServerError},
        {replyOf(503, R"({"code": "5000"})"), RequestStatus::ServerError},
        {replyOf(599, foreign), RequestStatus::CrossBorderUnavailable},
        {timedOut(500), RequestStatus::ServerError},
        {timedOut(), RequestStatus::Timeout},
        {timedOut(200), RequestStatus::Timeout},
        {cutOff(), RequestStatus::NetworkError},
        {cutOff(200), RequestStatus::NetworkError},
        {replyOf(0, ok), RequestStatus::NetworkError},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CrptClient::getRequestStatus(c.response), int(c.status))
            << c.response.status() << ' ' << c.response.body().toStdString();
    }
    http::Response both = timedOut();
    both.setNetworkError(true);
    EXPECT_EQ(requestStatusOf(both), RequestStatus::Timeout);
}

}  // namespace
