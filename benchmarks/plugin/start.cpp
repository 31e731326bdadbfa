#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include "benchmarks/benchmarks.h"
#include "benchmarks/plugin/barerequest.h"
#include "benchmarks/plugin/servers.h"
#include "benchmarks/plugin/till.h"
#include "benchmarks/result/replies.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

double microsecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

double residentKiB()
{
    std::ifstream statm("/proc/self/statm");
    double size = 0, resident = 0;
    statm >> size >> resident;
    return resident * 4;
}

/// Threads of the process, and how often they have gone to sleep and woken up so far.
struct Threads
{
    int count = 0;
    qint64 switches = 0;

    static Threads now()
    {
        Threads threads;
        for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
            ++threads.count;
            std::ifstream status(task.path() / "status");
            for (std::string line; std::getline(status, line);) {
                constexpr std::string_view name = "voluntary_ctxt_switches:";
                if (line.starts_with(name)) {
                    threads.switches += std::stoll(line.substr(name.size()));
                }
            }
        }
        return threads;
    }
};

QJsonObject startedOnce(const QString& operatorUrl)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start("/proc/self/exe", {"--start-once", operatorUrl});
    process.waitForFinished();
    return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
}

/// The same requests as the plug-in's first check: list, health, check; each over a connection of its own
/// but for the last two, as their headers say.
double firstBareCheck(const Sites& sites, const QByteArray& body)
{
    const auto begin = Clock::now();
    BareClient().get(sites.operatorUrl() + "/api/v4/true-api/cdn/info");
    BareClient().get(sites.operatorUrl() + "/api/v4/true-api/cdn/health/check");
    BareClient().post(sites.checkUrl(0), body);
    return microsecondsSince(begin);
}

}  // namespace

int startOnce(const QString& operatorUrl)
{
    const double residentBefore = residentKiB();
    const int threadsBefore = Threads::now().count;
    const auto begin = Clock::now();
    Till till(operatorUrl);
    const double ready = microsecondsSince(begin);
    const double firstCheck = till.check(codesOf(1));
    const Threads before = Threads::now();
    std::this_thread::sleep_for(std::chrono::seconds(2));
    const Threads after = Threads::now();
    const QJsonObject measured{{"ready", ready},
                               {"firstCheck", firstCheck},
                               {"residentKiB", residentKiB() - residentBefore},
                               {"threads", after.count - threadsBefore},
                               // This thread has woken up once, from its own sleep.
                               {"wakeUps", static_cast<double>(after.switches - before.switches - 1)}};
    std::cout << QJsonDocument(measured).toJson(QJsonDocument::Compact).toStdString() << std::endl;
    return 0;
}

Figure measureStart()
{
    Figure figure{"start", "From loading to the first verdict", "plug-in", "libcurl", {}};
    Sites sites(1);
    sites.setReply(replyFor(codesOf(1)));
    const QByteArray body = Till::bodyOf(codesOf(1));
    std::vector<double> ready, firstCheck, bare, memory, threads, wakeUps;
    for (int round = 0; round < 9; ++round) {
        const QJsonObject measured = startedOnce(sites.operatorUrl());
        if (measured.isEmpty()) {
            throw std::runtime_error("the plug-in did not start");
        }
        ready.push_back(measured["ready"].toDouble());
        firstCheck.push_back(measured["firstCheck"].toDouble());
        memory.push_back(measured["residentKiB"].toDouble());
        threads.push_back(measured["threads"].toDouble());
        wakeUps.push_back(measured["wakeUps"].toDouble());
        bare.push_back(firstBareCheck(sites, body));
    }
    const auto row = [&](const char* what, const char* unit, const std::vector<double>& ours,
                         double other = 0) {
        Row one;
        one.what = what;
        one.unit = unit;
        one.ours = median(ours);
        one.other = other;
        figure.rows.push_back(one);
    };
    row("load to ready (init() returned)", "µs", ready);
    row("first check: list, health, check", "µs", firstCheck, median(bare));
    row("memory added, first check included", "KiB", memory);
    row("threads added", "", threads);
    Row idle;
    idle.what = "wake-ups in 2 s without work";
    idle.ours = median(wakeUps);
    idle.value = idle.ours;
    idle.goal = 0;
    idle.note = "the number, no ratio";
    figure.rows.push_back(idle);
    return figure;
}

}  // namespace bench
