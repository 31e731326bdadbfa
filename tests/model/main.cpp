// Runs the online client and the model of its rules through random schedules and compares what they do.

#include <csignal>
#include <iostream>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <QElapsedTimer>

#include "tests/model/realside.h"
#include "tests/model/rules.h"

using namespace Qt::StringLiterals;

namespace {

constexpr unsigned SecondsForOne = 10;         ///< of real time: whatever takes longer hangs
constexpr std::uint64_t FewestForAll = 50000;  ///< in so many runs everything that can happen happens
constexpr size_t Kinds = 71;                   ///< how many things can happen

struct Options
{
    std::uint64_t seed = 1;
    std::uint64_t runs = 50000;
    std::uint64_t first = 0;
};

struct Tally
{
    std::uint64_t checks = 0, requests = 0;
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
    alarm(SecondsForOne);
    World imagined(schedule);
    World actual(schedule);
    Rules rules(imagined, tally.coverage);
    QString wrong;
    side.begin(actual, imagined.trace);
    for (auto step = schedule.begin(); step != schedule.end() && wrong.isEmpty(); ++step) {
        if (!step->isAction()) {
            continue;
        }
        imagined.trace.clear();
        actual.trace.clear();
        try {
            rules.perform(*step);
            side.perform(*step);
            wrong = imagined.trace == actual.trace ? QString() : u"they differ"_s;
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
    tally.requests += actual.requests;
    tally.coverage["wall clock set"] += actual.clockSteps;
    return wrong;
}

/// Leaves out steps and lowers numbers as long as the schedule still fails.
Schedule shrunk(Schedule schedule, RealSide& side)
{
    bool changed = true;
    const auto tryInstead = [&](const Schedule& smaller) {
        Tally ignored;
        const bool fails = !disagreement(smaller, side, ignored).isEmpty();
        schedule = fails ? smaller : schedule;
        changed = changed || fails;
        return fails;
    };
    while (std::exchange(changed, false)) {
        for (size_t at = 0; at < schedule.size();) {
            Schedule smaller = schedule;
            smaller.erase(smaller.begin() + std::ptrdiff_t(at));
            at += tryInstead(smaller) ? 0 : 1;
        }
        for (size_t at = 0; at < schedule.size(); ++at) {
            for (size_t number = 0; number < Step().n.size(); ++number) {
                for (int less = schedule[at].n[number]; less != 0; less /= 2) {
                    Schedule smaller = schedule;
                    smaller[at].n[number] -= less;
                    if (tryInstead(smaller) && schedule[at].n[number] == 0) {
                        break;
                    }
                }
            }
        }
    }
    return schedule;
}

void explain(const Schedule& failing, RealSide& side)
{
    const Schedule small = shrunk(failing, side);
    std::cout << "It fails, shrunk to:\n";
    for (const Step& step : small) {
        std::cout << "    " << step.toText().toStdString() << '\n';
    }
    Tally ignored;
    std::cout << disagreement(small, side, ignored).toStdString();
}

/// The run that is under way, for whoever looks why the program ended in it.
std::array<char, 128> underWay;
void endsInIt(int /*signal*/)
{
    (void)!write(STDOUT_FILENO, underWay.data(), std::strlen(underWay.data()));
    _exit(1);
}

int run(const Options& options)
{
    for (const int signal : {SIGALRM, SIGSEGV, SIGABRT, SIGFPE}) {
        std::signal(signal, endsInIt);
    }
    QElapsedTimer timer;
    timer.start();
    RealSide side;
    Tally tally;
    for (std::uint64_t i = options.first; i < options.first + options.runs; ++i) {
        std::snprintf(underWay.data(), underWay.size(),
                      "It crashes or hangs. Again: crptmodel --seed %ju --first %ju --runs 1\n",
                      std::uintmax_t(options.seed), std::uintmax_t(i));
        const Schedule schedule = randomSchedule(options.seed, i);
        if (!disagreement(schedule, side, tally).isEmpty()) {
            explain(schedule, side);
            std::cout << "Again: crptmodel --seed " << options.seed << " --first " << i << " --runs 1\n";
            return 1;
        }
    }
    size_t kinds = 0;
    for (const auto& [what, times] : tally.coverage) {
        std::cout << std::setw(12) << times << "  " << what << '\n';
        kinds += times > 0;
    }
    std::cout << "seed " << options.seed << ": " << options.runs << " runs, " << tally.checks << " checks, "
              << tally.requests << " requests, " << kinds << " of " << Kinds << " kinds of events, "
              << std::fixed << std::setprecision(1) << double(timer.elapsed()) / 1000
              << " s, no difference\n";
    return kinds == Kinds || options.runs < FewestForAll ? 0 : 1;
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
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return run(options);
}
