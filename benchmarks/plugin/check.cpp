#include <fstream>
#include <iostream>

#include <valgrind/callgrind.h>

#include "benchmarks/benchmarks.h"
#include "benchmarks/plugin/barerequest.h"
#include "benchmarks/plugin/servers.h"
#include "benchmarks/plugin/till.h"
#include "benchmarks/result/replies.h"

namespace bench {

namespace {

double microseconds(const auto& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

Row rowOf(const QString& what, double ours, double floor, std::optional<double> goal)
{
    Row row;
    row.what = what;
    row.unit = "µs";
    row.ours = ours;
    row.other = floor;
    row.goal = goal;
    return row;
}

}  // namespace

Figure measureCheck()
{
    Figure figure{"check", "A verification action against one bare request", "plug-in", "libcurl", {}};
    Sites sites(1);
    Till till(sites.operatorUrl());
    BareClient bare;
    struct Size
    {
        int codes;
        int rounds;
        std::optional<double> goal;
    };
    for (const Size& size : {Size{1, 4000, 1.15}, Size{10, 4000, 1.25}, Size{100, 1500, {}}}) {
        const QList<MarkingCode> codes = codesOf(size.codes);
        const QByteArray body = Till::bodyOf(codes);
        sites.setReply(replyFor(codes));
        std::vector<double> ours, floor;
        for (int round = -100; round < size.rounds; ++round) {
            // By turns, and by turns who is first.
            const bool oursFirst = round % 2 == 0;
            double check = oursFirst ? till.check(codes) : 0;
            const double request = microseconds([&] { bare.post(sites.checkUrl(0), body); });
            check = oursFirst ? check : till.check(codes);
            if (round >= 0) {
                ours.push_back(check);
                floor.push_back(request);
            }
        }
        const QString what = counted(size.codes, "code") + ", ";
        figure.rows.push_back(rowOf(what + "median", median(ours), median(floor), size.goal));
        figure.rows.push_back(rowOf(what + "p99", percentile(ours, 0.99), percentile(floor, 0.99), {}));
    }
    return figure;
}

int checkOnce(int count)
{
    Sites sites(1);
    Till till(sites.operatorUrl());
    const QList<MarkingCode> codes = codesOf(count);
    sites.setReply(replyFor(codes));
    till.check(codes);
    till.check(codes);
    CALLGRIND_START_INSTRUMENTATION;
    till.check(codes);
    CALLGRIND_STOP_INSTRUMENTATION;
    return 0;
}

int requestOnce(int count)
{
    Sites sites(1);
    BareClient bare;
    const QList<MarkingCode> codes = codesOf(count);
    const QByteArray body = Till::bodyOf(codes);
    sites.setReply(replyFor(codes));
    bare.post(sites.checkUrl(0), body);
    bare.post(sites.checkUrl(0), body);
    CALLGRIND_START_INSTRUMENTATION;
    bare.post(sites.checkUrl(0), body);
    CALLGRIND_STOP_INSTRUMENTATION;
    return 0;
}

}  // namespace bench
