#include "benchmarks/figure.h"
#include "benchmarks/plugin/bareclient.h"
#include "benchmarks/plugin/servers.h"
#include "benchmarks/plugin/till.h"
#include "benchmarks/result/replies.h"

namespace bench {

namespace {

Row measuredRow(Sites& sites, Till& till, BareClient& client, int count, int rounds)
{
    const QList<MarkingCode> codes = codesOf(count);
    sites.setReply(replyFor(codes));
    const auto medians =
        mediansByTurns({[&] { return till.check(codes); },
                        [&] { return microseconds([&] { client.check(sites.codesCheckUrl(0), codes); }); }},
                       rounds);
    const bool isSlow = sites.speed() == Sites::Speed::EncryptedAfter10Ms;
    return {countedCodes(count) + (isSlow ? ", TLS, after 10 ms" : ", loopback"), medians[0], medians[1],
            isSlow ? 1.02 : 1.25};
}

}  // namespace

Figure measureCheck()
{
    Figure figure{"A verification action against what any Qt client must do", "plug-in", "floor"};
    for (const auto speed : {Sites::Speed::AtOnce, Sites::Speed::EncryptedAfter10Ms}) {
        Sites sites(1, speed);
        Till till(sites);
        BareClient client(sites.caFile());
        for (const int codes : {1, 10, 100}) {
            const int rounds = speed == Sites::Speed::AtOnce ? 2000 : 300;
            figure.rows.push_back(measuredRow(sites, till, client, codes, rounds));
        }
    }
    return figure;
}

}  // namespace bench
