#include <utility>

#include <QJsonObject>

#include "result/requeststatus.h"
#include "tests/doubles/scriptedclient.h"
#include <gtest/gtest.h>

namespace {

enum Class { Ok, Failed, Server, CrossBorder, Emergency, Token, Protocol, Timeout, Network };

http::Response cutBehind(int status, bool isLate)
{
    http::Response response = reply(status);
    response.setNetworkError(!isLate);
    response.setTimeout(isLate);
    return response;
}

TEST(RequestStatus, IsTheNumberOfTheClassOfReply)
{
    const QJsonObject ok{{"code", 0}, {"description", "ok"}}, down{{"code", 5000}};
    const std::pair<http::Response, Class> cases[] = {
        {reply(200, ok), Ok},
        {reply(202, ok), Ok},
        {reply(204, ok), Ok},
        {reply(200, {{"description", "ok"}}), Failed},
        {reply(200, {{"code", 1}, {"description", "ok"}}), Failed},
        {reply(200, {{"code", 0}, {"description", "OK"}}), Failed},
        {reply(200, down), Failed},
        {reply(399), Failed},
        {reply(600, down), Failed},
        {reply(429), Server},
        {reply(500), Server},
        {reply(503, {{"code", 5001}}), Server},
        {reply(599), Server},
        {reply(500, down), CrossBorder},
        {reply(599, down), CrossBorder},
        {reply(429, down), Server},
        {reply(203, ok), Emergency},
        {reply(401), Token},
        {reply(400), Protocol},
        {reply(402), Protocol},
        {reply(405), Protocol},
        {reply(428), Protocol},
        {reply(430), Protocol},
        {reply(499, down), Protocol},
        {reply(403), Network},
        {reply(404), Network},
        {cutOff(), Network},
        {reply(0), Network},
        {cutBehind(200, false), Network},
        {cutBehind(200, true), Timeout},
        {cutBehind(401, true), Token},
        {cutBehind(1, false), Network},
        {timedOut(), Timeout}};
    for (const auto& [response, number] : cases) {
        EXPECT_EQ(int(requestStatusOf(response)), number) << response.status();
    }
}

}  // namespace
