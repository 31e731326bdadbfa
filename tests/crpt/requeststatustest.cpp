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
    using enum RequestStatus;
    const std::pair<http::Response, RequestStatus> cases[] = {
        {replyOf(200, ok), Ok},
        {replyOf(600, ok), Ok},
        {replyOf(200, R"({"code": 0, "description": "OK"})"), Failed},
        {replyOf(200, R"({"code": 0})"), Failed},
        {replyOf(200, R"({"code": 1, "description": "ok"})"), Failed},
        {replyOf(200, R"({"code": "0", "description": "ok"})"), Failed},
        {replyOf(200, R"({"code": null, "description": "ok"})"), Failed},
        {replyOf(200, R"({"description": "ok"})"), Failed},
        {replyOf(200, foreign), Failed},
        {timedOut(203), Emergency},
        {cutOff(401), IncorrectToken},
        {timedOut(404), NetworkError},
        {replyOf(428, ok), ProtocolError},
        {replyOf(429, foreign), ServerError},
        {replyOf(500, foreign), CrossBorderUnavailable},
        {replyOf(503, R"({"code": "5000"})"), ServerError},
        {replyOf(599, foreign), CrossBorderUnavailable},
        {replyOf(0, ok), NetworkError}};
    for (const auto& [response, status] : cases) {
        EXPECT_EQ(CrptClient::getRequestStatus(response), int(status))
            << response.status() << ' ' << response.body().toStdString();
    }
    http::Response both = timedOut();
    both.setNetworkError(true);
    EXPECT_EQ(requestStatusOf(both), RequestStatus::Timeout);
}

}  // namespace
