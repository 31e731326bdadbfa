#include "httpclient.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(Tls, IsTrustedThroughTheAuthorityAndDistrustedWhenTheCertificateIsBad)
{
    const StandProcess stand({"--tls", "--modules", "1"});
    EXPECT_TRUE(stand.url("operator-1").starts_with("https://"));
    EXPECT_TRUE(stand.url("module-1").starts_with("http://"));
    const auto caFile = stand.ready()["caFile"_L1].toString().toStdString();
    const std::vector<std::pair<std::string, CURLcode>> cases = {
        {"[]", CURLE_OK},
        {R"({"certificate": "good"})", CURLE_OK},
        {R"({"certificate": "wrong-host"})", CURLE_PEER_FAILED_VERIFICATION},
        {R"({"certificate": "expired"})", CURLE_PEER_FAILED_VERIFICATION},
        {R"({"certificate": "self-signed"})", CURLE_PEER_FAILED_VERIFICATION},
        {R"({"connect": "close"})", CURLE_SSL_CONNECT_ERROR},
        {R"({"connect": "reset"})", CURLE_SSL_CONNECT_ERROR},
        {R"({"connect": "silent"})", CURLE_OPERATION_TIMEDOUT},
        {R"({"framing": "until-close"})", CURLE_OK},
        {R"({"cut": {"after": "head"}})", CURLE_PARTIAL_FILE},
        {R"({"padMegabytes": 8})", CURLE_OK},
    };
    for (const auto& [behaviour, result] : cases) {
        StandClient client(stand);
        client.behave("site-1", behaviour);
        client.setCaFile(caFile);
        if (result == CURLE_OPERATION_TIMEDOUT)
            client.setTimeout(std::chrono::milliseconds(200));
        const auto reply = client.health();
        EXPECT_EQ(reply.result, result) << behaviour << ": " << curl_easy_strerror(reply.result);
        EXPECT_EQ(result == CURLE_OK, !reply.object().isEmpty()) << behaviour;
    }
    StandClient stranger(stand);
    EXPECT_EQ(stranger.health().result, CURLE_PEER_FAILED_VERIFICATION) << "without the authority";
}
