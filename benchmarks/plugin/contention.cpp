#include <atomic>
#include <functional>
#include <thread>

#include "benchmarks/benchmarks.h"
#include "benchmarks/plugin/barerequest.h"
#include "benchmarks/plugin/servers.h"
#include "benchmarks/plugin/till.h"
#include "benchmarks/result/replies.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

/// Checks a second of this many threads, each with `rounds` of them to do.
double throughput(int threads, int rounds, const std::function<void(int)>& check)
{
    const auto begin = Clock::now();
    std::vector<std::jthread> workers;
    workers.reserve(static_cast<size_t>(threads));
    for (int thread = 0; thread < threads; ++thread) {
        workers.emplace_back([&check, thread, rounds] {
            for (int round = 0; round < rounds; ++round) {
                check(thread);
            }
        });
    }
    workers.clear();
    return threads * rounds / std::chrono::duration<double>(Clock::now() - begin).count();
}

Row threadsRow(int threads, Till& till, const QString& url, const QList<MarkingCode>& codes)
{
    const QByteArray body = Till::bodyOf(codes);
    std::vector<BareClient> clients(static_cast<size_t>(threads));
    std::vector<double> ours, floor;
    for (int round = 0; round < 5; ++round) {
        const int rounds = 1200 / threads;
        ours.push_back(throughput(threads, rounds, [&](int) { till.check(codes); }));
        floor.push_back(throughput(
            threads, rounds, [&](int thread) { clients[static_cast<size_t>(thread)].post(url, body); }));
    }
    Row row;
    row.what = counted(threads, "thread");
    row.unit = "/s";
    row.ours = median(ours);
    row.other = median(floor);
    row.value = row.other / row.ours;
    row.note = "checks a second; ratio: floor / plug-in";
    return row;
}

/// Checks with something else going on, and without, by turns.
Row besideRow(const QString& what, Till& till, const QList<MarkingCode>& codes,
              const std::function<void()>& disturbance)
{
    std::vector<double> disturbed, calm;
    for (int round = 0; round < 10; ++round) {
        std::atomic<bool> ended = false;
        std::jthread other([&] {
            while (!ended) {
                disturbance();
            }
        });
        for (int i = 0; i < 100; ++i) {
            disturbed.push_back(till.check(codes));
        }
        ended = true;
        other.join();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));  // for an update that still runs
        for (int i = 0; i < 100; ++i) {
            calm.push_back(till.check(codes));
        }
    }
    Row row;
    row.what = what;
    row.unit = "µs";
    row.ours = median(disturbed);
    row.other = median(calm);
    row.note = "a check with it and without";
    return row;
}

}  // namespace

Figure measureContention()
{
    Figure figure{"contention", "Checks from several threads, and beside other work", "plug-in", "other", {}};
    Sites sites(1);
    const QList<MarkingCode> codes = codesOf(1);
    sites.setReply(replyFor(codes));
    Till till(sites.operatorUrl());
    till.check(codes);
    for (const int threads : {1, 2, 4, 8}) {
        figure.rows.push_back(threadsRow(threads, till, sites.checkUrl(0), codes));
    }
    figure.rows.push_back(besideRow("beside pings", till, codes, [&] { till.ping(); }));
    figure.rows.push_back(besideRow("beside updates of the list", till, codes, [&] {
        till.updateSites();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }));
    return figure;
}

}  // namespace bench
