// Runs the online client and the model of its rules through random schedules and compares what they do.

#include <cstdlib>
#include <iostream>
#include <new>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <QElapsedTimer>

#include "tests/model/realside.h"
#include "tests/model/rules.h"

using namespace Qt::StringLiterals;

namespace {

constexpr unsigned SecondsForBatch = 60;  ///< of real time: whatever takes longer hangs
constexpr unsigned SecondsForOne = 10;
constexpr std::uint64_t Batch = 1000;
constexpr std::uint64_t FewestForAll = 50000;  ///< in so many runs everything that can happen happens

struct Options
{
    std::uint64_t seed = 1;
    std::uint64_t runs = 50000;
    std::uint64_t first = 0;
    size_t jobs = 1;
};

/// How far a process has come, in memory that outlives it.
struct Tally
{
    std::uint64_t run = 0, runs = 0, checks = 0, requests = 0;
    bool failed = false;
    Coverage coverage;
};

/// What one side did from shortly before entry `same`, where the sides part.
QString tail(const char* side, const Trace& trace, size_t same)
{
    QString text = QString::fromLatin1(side) + u":\n"_s;
    for (size_t i = same - std::min<size_t>(same, 4); i < std::min(trace.size(), same + 3); ++i) {
        text += (i < same ? u"        "_s : u"   >    "_s) + trace[i].toText() + u'\n';
    }
    return text;
}

/// Runs one schedule; what is wrong, empty when nothing is.
QString disagreement(const Schedule& schedule, RealSide& side, Tally& tally)
{
    World imagined(schedule);
    World actual(schedule);
    Rules rules(imagined, tally.coverage);
    QString wrong;
    side.begin(actual);
    for (auto step = schedule.begin(); step != schedule.end() && wrong.isEmpty(); ++step) {
        if (!step->isAction()) {
            continue;
        }
        imagined.trace.clear();
        actual.trace.clear();
        try {
            rules.perform(*step);
            side.perform(*step);
            wrong = imagined.trace == actual.trace ? side.violation() : u"they differ"_s;
        } catch (const Runaway& endless) {
            wrong = QString::fromLatin1(endless.what());
        }
        if (!wrong.isEmpty()) {
            const auto parting = std::mismatch(imagined.trace.begin(), imagined.trace.end(),
                                               actual.trace.begin(), actual.trace.end());
            const auto same = size_t(parting.first - imagined.trace.begin());
            wrong = u"In %1: %2\n"_s.arg(step->toText(), wrong) + tail("model", imagined.trace, same) +
                    tail("client", actual.trace, same);
        }
        tally.checks += step->kind == Step::Check;
    }
    side.end();
    ++tally.runs;
    tally.requests += actual.requests;
    tally.coverage.count("wall clock set", actual.clockSteps);
    return wrong;
}

/// Runs one schedule in a process of its own, which may crash or hang; whether all is well.
bool isGood(const Schedule& schedule, bool print = false)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(SecondsForOne);
        Tally tally;
        RealSide side;
        const QString wrong = disagreement(schedule, side, tally);
        if (print) {
            std::cout << wrong.toStdString() << std::flush;
        }
        _exit(wrong.isEmpty() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (print && !WIFEXITED(status)) {
        std::cout << "It crashes or hangs.\n";
    }
    return status == 0;
}

/// Leaves out steps and lowers numbers as long as the schedule still fails.
Schedule shrunk(Schedule schedule)
{
    bool changed = true;
    const auto tryInstead = [&](const Schedule& smaller) {
        const bool fails = !isGood(smaller);
        schedule = fails ? smaller : schedule;
        changed = changed || fails;
        return fails;
    };
    while (std::exchange(changed, false)) {
        for (size_t length = std::max<size_t>(schedule.size() / 2, 1); length > 0; length /= 2) {
            for (size_t at = 0; at + length <= schedule.size();) {
                Schedule smaller = schedule;
                const auto from = smaller.begin() + std::ptrdiff_t(at);
                smaller.erase(from, from + std::ptrdiff_t(length));
                at += tryInstead(smaller) ? 0 : length;
            }
        }
        for (size_t i = 0; i < schedule.size() * Step().n.size(); ++i) {
            const auto number = [i](Schedule& of) -> int& {
                return of[i / Step().n.size()].n[i % Step().n.size()];
            };
            for (int less = number(schedule); less != 0; less /= 2) {
                Schedule smaller = schedule;
                number(smaller) -= less;
                if (tryInstead(smaller) && number(smaller) == 0) {
                    break;
                }
            }
        }
    }
    return schedule;
}

void explain(const Options& options, std::uint64_t run)
{
    const Schedule small = shrunk(randomSchedule(options.seed, run));
    std::cout << "Run " << run << " fails, shrunk to:\n";
    for (const Step& step : small) {
        std::cout << "    " << step.toText().toStdString() << '\n';
    }
    std::cout << std::flush;
    isGood(small, true);
    std::cout << "Again: crptmodel --seed " << options.seed << " --first " << run << " --runs 1\n";
}

/// Every options.jobs-th schedule from the `worker`-th on, until one fails.
void runShare(const Options& options, size_t worker, Tally* tallies)
{
    RealSide side;
    Tally& tally = tallies[worker];
    for (std::uint64_t i = worker; i < options.runs && !tally.failed; i += options.jobs) {
        if (tally.runs % Batch == 0) {
            alarm(SecondsForBatch);
            if (std::any_of(tallies, tallies + options.jobs,
                            [](const Tally& other) { return other.failed; })) {
                return;
            }
        }
        tally.run = options.first + i;
        tally.failed = !disagreement(randomSchedule(options.seed, tally.run), side, tally).isEmpty();
    }
}

/// Prints what came of it all; whether everything that can happen has.
bool summarise(const Options& options, const Tally& all, double seconds)
{
    size_t kinds = 0;
    for (const auto& [what, times] : all.coverage.times) {
        if (times > 0) {
            std::cout << std::setw(12) << times << "  " << what << '\n';
            ++kinds;
        }
    }
    std::cout << "seed " << options.seed << ": " << all.runs << " runs, " << all.checks << " checks, "
              << all.requests << " requests, " << kinds << " of " << Coverage::Kinds << " kinds of events, "
              << std::fixed << std::setprecision(1) << seconds << " s, no difference\n";
    return kinds == Coverage::Kinds;
}

int run(const Options& options)
{
    QElapsedTimer timer;
    timer.start();
    void* const memory = mmap(nullptr, sizeof(Tally) * options.jobs, PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        std::perror("crptmodel");
        return 2;
    }
    auto* const tallies = new (memory) Tally[options.jobs];
    std::vector<pid_t> workers;
    while (workers.size() < options.jobs) {
        workers.push_back(fork());
        if (workers.back() == 0) {
            runShare(options, workers.size() - 1, tallies);
            _exit(0);
        }
    }
    Tally all;
    for (size_t i = 0; i < workers.size(); ++i) {
        int status = 0;
        waitpid(workers[i], &status, 0);
        tallies[i].failed = tallies[i].failed || status != 0;
        all.runs += tallies[i].runs;
        all.checks += tallies[i].checks;
        all.requests += tallies[i].requests;
        for (const auto& [what, times] : tallies[i].coverage.times) {
            all.coverage.count(what, times);
        }
    }
    const auto* const failed =
        std::find_if(tallies, tallies + options.jobs, [](const Tally& tally) { return tally.failed; });
    if (failed != tallies + options.jobs) {
        explain(options, failed->run);
        return 1;
    }
    const bool complete = summarise(options, all, double(timer.elapsed()) / 1000);
    return complete || options.runs < FewestForAll ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("Checks the online client against a model of its rules on random schedules.\n"
                 "Exit status: 0 no difference, 1 a difference (shown) or something never happened, 2 usage.",
                 "crptmodel");
    app.option_defaults()->always_capture_default();
    app.add_option("--seed", options.seed, "Seed of the schedules");
    app.add_option("--runs", options.runs, "How many schedules");
    app.add_option("--first", options.first, "Number of the first one");
    app.add_option("--jobs", options.jobs, "Processes at once")->check(CLI::Range(1, 256));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return run(options);
}
