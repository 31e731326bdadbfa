#include <algorithm>
#include <map>

#include "benchmarks/figure.h"
#include "benchmarks/plugin/bareclient.h"
#include "benchmarks/plugin/servers.h"
#include "benchmarks/plugin/till.h"
#include "benchmarks/result/replies.h"

namespace bench {

namespace {

constexpr int siteCount = 6;

/// Times of one system, in microseconds: the check that meets the fault, and those that follow.
struct Times
{
    std::vector<double> first, following;
};

void measure(Times& times, const std::function<double()>& check)
{
    times.first.push_back(check());
    for (int i = 0; i < 8; ++i) {
        times.following.push_back(check());
    }
}

/// Each system starts afresh, meets the fault and goes on. Another one is first in every round: it matters
/// who comes first after the fault.
void play(Sites& sites, Sites::Fault fault, int dead, int round, std::map<QString, Times>& times)
{
    const QList<MarkingCode> codes = codesOf(1);
    const QByteArray body = BareClient::bodyOf(codes);
    const LoadBalancer nginx(Balancer::Nginx, sites), haproxy(Balancer::HaProxy, sites);
    std::vector<QString> urls;
    urls.reserve(size_t(sites.count()));
    for (int site = 0; site < sites.count(); ++site) {
        urls.push_back(sites.codesCheckUrl(site));
    }
    BareClient toNginx, toHaproxy, toSites;
    Till till(sites);
    for (int warmUp = 0; warmUp < 2; ++warmUp) {
        till.check(codes);
        toSites.postInTurn(urls, body);
        toNginx.post(nginx.ownUrl(), body);
        toHaproxy.post(haproxy.ownUrl(), body);
    }
    sites.spoil(fault, dead);
    const auto post = [&body](BareClient& client, const QString& url) {
        return [&client, &body, url] { return microseconds([&] { client.post(url, body); }); };
    };
    std::vector<std::function<void()>> turns = {
        [&] { measure(times["plug-in"], [&] { return till.check(codes); }); },
        [&] { measure(times["nginx"], post(toNginx, nginx.codesCheckUrl())); },
        [&] { measure(times["HAProxy"], post(toHaproxy, haproxy.codesCheckUrl())); },
        [&] { times["libcurl"].first.push_back(microseconds([&] { toSites.postInTurn(urls, body); })); }};
    std::rotate(turns.begin(), turns.begin() + round % static_cast<int>(turns.size()), turns.end());
    for (const auto& turn : turns) {
        turn();
    }
    sites.repair();
}

}  // namespace

Figure measureFailover()
{
    Figure figure{"A check of one code while sites are dead, against load balancers and a bare libcurl loop",
                  "plug-in", "other"};
    Sites sites(siteCount);
    sites.setReply(replyFor(codesOf(1)));
    const std::tuple<Sites::Fault, const char*, int> faults[] = {{Sites::Fault::Refuse, "refuse", 24},
                                                                 {Sites::Fault::Answer500, "say 500", 24},
                                                                 {Sites::Fault::Silence, "are silent", 1}};
    for (const auto& [fault, name, rounds] : faults) {
        for (const int dead : {1, 2, 5}) {
            std::map<QString, Times> times;
            for (int round = 0; round < rounds; ++round) {
                play(sites, fault, dead, round, times);
            }
            const QString what = QStringLiteral("%1 of 6 %2, ").arg(dead).arg(name);
            const Times& ours = times["plug-in"];
            for (const char* other : {"nginx", "HAProxy"}) {
                figure.rows.push_back({what + "following checks, " + other, median(ours.following),
                                       median(times[other].following), 1.0});
            }
            figure.rows.push_back(
                {what + "first check, libcurl", median(ours.first), median(times["libcurl"].first), 1.25});
        }
    }
    return figure;
}

}  // namespace bench
