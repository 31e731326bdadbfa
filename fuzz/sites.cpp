// The operator's replies to the online client: lists of sites, their health, and checks. The input is a Feed.

#include "crpt/crptclient.h"
#include "fuzz/fuzz.h"

using fuzz::require;

namespace {

void check(CrptClient& client)
{
    using namespace std::chrono_literals;
    const QList<MarkingCode>& codes = fuzz::requestedCodes();
    const auto result = client.checkMarkingCodes(QStringLiteral("key"), codes, 15s, 5s);
    const http::ErrorKind kind = result.errorKind();
    for (const MarkingCode& code : codes) {
        require(kind == http::ErrorKind::NoToken || result.passedCodes.contains(code) ||
                    result.failedCodes.contains(code),
                "a code that was asked for has a verdict");
    }
    for (const MarkingCode& code : result.passedCodes) {
        require(codes.contains(code), "no other code passes");
    }
    require(kind != http::ErrorKind::SalePermitted || result.passedCodes == codes,
            "a permitted sale passes all");
    require(kind != http::ErrorKind::Unreachable || result.passedCodes.isEmpty(), "nothing passes unchecked");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const fuzz::Feed feed(fuzz::bytesOf(data, size));
    const auto owner = QStringLiteral("owner");
    CrptClient client;
    client.onStart();
    client.addHost(QUrl(QStringLiteral("http://op1/base/")), owner);
    client.addHost(QUrl(QStringLiteral("http://op2")), owner);
    client.addKey(QStringLiteral("key1"), owner);
    client.addKey(QStringLiteral("key2"), owner);

    require(client.updateInfo() == CrptClient::UpdateInfoStatus::Finished, "an update runs to its end");
    check(client);
    feed.clock.advance(std::chrono::minutes(16));  // every quarantine is over
    check(client);

    const QJsonArray listed = client.getCdnInfo(QUrl(QStringLiteral("http://op1")), owner);
    const CDNInfos healthy = client.checkHealth(listed, owner);
    require(healthy.size() <= listed.size(), "a listed site comes in once");
    for (const auto& site : healthy) {
        require(!site->host.isEmpty() && site->responseTime >= 0 && site->isAvailable(),
                "a healthy site can be asked");
    }
    return 0;
}
