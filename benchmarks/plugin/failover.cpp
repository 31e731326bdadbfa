#include <algorithm>
#include <map>
#include <numeric>

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

/// Every order of so many things has its round, and after the last one the first again.
std::vector<size_t> orderOf(size_t things, int round)
{
    std::vector<size_t> order(things);
    std::iota(order.begin(), order.end(), 0);
    for (int i = 0; i < round; ++i) {
        std::next_permutation(order.begin(), order.end());
    }
    return order;
}

/// One cell once: each system starts afresh, meets the fault, and goes on.
void play(Sites& sites, Sites::Fault fault, int dead, int round, std::map<QString, Times>& times)
{
    const QList<MarkingCode> codes = codesOf(1);
    const QByteArray body = Till::bodyOf(codes);
    const LoadBalancer nginx(Balancer::Nginx, sites), haproxy(Balancer::HaProxy, sites);
    std::vector<QByteArray> urls;
    urls.reserve(static_cast<size_t>(sites.count()));
    for (int site = 0; site < sites.count(); ++site) {
        urls.push_back(sites.checkUrl(site).toUtf8());
    }
    BareClient toNginx, toHaproxy, toSites;
    Till till(sites.operatorUrl());
    for (int warm = 0; warm < 2; ++warm) {  // a till that has been in use
        till.check(codes);
        toSites.walk(urls, body);
        toNginx.get(nginx.ownUrl());
        toHaproxy.get(haproxy.ownUrl());
    }
    sites.spoil(fault, dead);
    // In every order: it matters who is first after the fault, and how busy the one before was.
    std::vector<std::function<void()>> turns = {
        [&] { record(times["plug-in"], [&] { return till.check(codes); }); },
        [&] {
            record(times["nginx"], [&] { return timeOf([&] { toNginx.post(nginx.checkUrl(), body); }); });
        },
        [&] {
            record(times["haproxy"],
                   [&] { return timeOf([&] { toHaproxy.post(haproxy.checkUrl(), body); }); });
        }};
    if (fault != Sites::Fault::Silence) {  // the same limits would be waited for, eight more times
        turns.emplace_back([&] { times["walk"].first.push_back(timeOf([&] { toSites.walk(urls, body); })); });
    }
    for (const size_t turn : orderOf(turns.size(), round)) {
        turns[turn]();
    }
    sites.repair();
}

Row rowAgainst(const QString& what, double ours, double other)
{
    Row row;
    row.what = what;
    row.unit = "ms";
    row.ours = ours / 1000;
    row.other = other / 1000;
    return row;
}

Row rowOf(const QString& what, double ours, double nginx, double haproxy)
{
    Row row = rowAgainst(what, ours, std::min(nginx, haproxy));
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
         {Kind{Sites::Fault::Refuse, "refuse", 48}, Kind{Sites::Fault::Answer500, "say 500", 48},
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
            figure.rows.push_back(rowAgainst(what + "next against calm", median(times["plug-in"].next),
                                             median(calm["plug-in"].next)));
            if (!times["walk"].first.empty()) {
                figure.rows.push_back(rowAgainst(what + "first against a bare walk",
                                                 median(times["plug-in"].first),
                                                 median(times["walk"].first)));
            }
        }
    }
    return figure;
}

}  // namespace bench
