#include <algorithm>
#include <map>

#include "benchmarks/benchmarks.h"
#include "benchmarks/plugin/barerequest.h"
#include "benchmarks/plugin/servers.h"
#include "benchmarks/plugin/till.h"
#include "benchmarks/result/replies.h"

namespace bench {

namespace {

constexpr int SiteCount = 6;

/// Times of one system, in microseconds.
struct Times
{
    std::vector<double> first, next;
};

double timeOf(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

void record(Times& times, const std::function<double()>& check)
{
    times.first.push_back(check());
    for (int i = 0; i < 8; ++i) {
        times.next.push_back(check());
    }
}

/// One cell once: each system starts afresh, meets the fault, and goes on.
void play(Sites& sites, Sites::Fault fault, int dead, int round, std::map<QString, Times>& times)
{
    const QList<MarkingCode> codes = codesOf(1);
    const QByteArray body = Till::bodyOf(codes);
    const LoadBalancer nginx(Balancer::Nginx, sites), haproxy(Balancer::HaProxy, sites);
    BareClient toNginx, toHaproxy;
    Till till(sites.operatorUrl());
    till.check(codes);
    toNginx.get(nginx.ownUrl());
    toHaproxy.get(haproxy.ownUrl());
    sites.spoil(fault, dead);
    // By turns who is first after the fault, when caches are cold.
    std::vector<std::function<void()>> turns = {
        [&] { record(times["plug-in"], [&] { return till.check(codes); }); },
        [&] {
            record(times["nginx"], [&] { return timeOf([&] { toNginx.post(nginx.checkUrl(), body); }); });
        },
        [&] {
            record(times["haproxy"],
                   [&] { return timeOf([&] { toHaproxy.post(haproxy.checkUrl(), body); }); });
        }};
    std::rotate(turns.begin(), turns.begin() + round % 3, turns.end());
    for (const auto& turn : turns) {
        turn();
    }
    sites.repair();
}

Row rowOf(const QString& what, double ours, double nginx, double haproxy)
{
    Row row;
    row.what = what;
    row.unit = "ms";
    row.ours = ours / 1000;
    row.other = std::min(nginx, haproxy) / 1000;
    row.goal = 1.0;
    row.note = QStringLiteral("nginx %1 ms, HAProxy %2 ms")
                   .arg(nginx / 1000, 0, 'g', 3)
                   .arg(haproxy / 1000, 0, 'g', 3);
    return row;
}

}  // namespace

Figure measureFailover()
{
    Figure figure{"failover",
                  "Time to a verdict while sites are dead, against the faster of two load balancers",
                  "plug-in",
                  "load balancer",
                  {}};
    struct Kind
    {
        Sites::Fault fault;
        QString name;
        int rounds;
    };
    Sites sites(SiteCount);
    sites.setReply(replyFor(codesOf(1)));
    std::map<QString, Times> calm;
    for (int round = 0; round < 12; ++round) {
        play(sites, Sites::Fault::Answer500, 0, round, calm);
    }
    for (const Kind& kind :
         {Kind{Sites::Fault::Refuse, "refuse", 30}, Kind{Sites::Fault::Answer500, "say 500", 30},
          Kind{Sites::Fault::Silence, "are silent", 1}}) {
        for (const int dead : {1, 2, 5}) {
            std::map<QString, Times> times;
            for (int round = 0; round < kind.rounds; ++round) {
                play(sites, kind.fault, dead, round, times);
            }
            const QString what = QStringLiteral("%1 of 6 %2, ").arg(dead).arg(kind.name);
            figure.rows.push_back(rowOf(what + "first check", median(times["plug-in"].first),
                                        median(times["nginx"].first), median(times["haproxy"].first)));
            figure.rows.push_back(rowOf(what + "next checks", median(times["plug-in"].next),
                                        median(times["nginx"].next), median(times["haproxy"].next)));
            Row added;
            added.what = what + "next against calm";
            added.unit = "ms";
            added.ours = median(times["plug-in"].next) / 1000;
            added.other = median(calm["plug-in"].next) / 1000;
            figure.rows.push_back(added);
        }
    }
    return figure;
}

}  // namespace bench
