// Runs the online client and the model of its rules through random schedules and compares what they do.

#include <csignal>
#include <iostream>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <QElapsedTimer>
#include <rapidcheck.h>

#include "tests/model/generator.h"
#include "tests/model/realside.h"
#include "tests/model/rules.h"

using namespace Qt::StringLiterals;

namespace {

constexpr unsigned secondsForOne = 10;          ///< of real time: whatever takes longer hangs
constexpr std::uint64_t minRunsForAll = 50000;  ///< in so many runs everything that can happen happens
constexpr size_t allKinds = 71;                 ///< how many things can happen

struct Options
{
    std::uint64_t seed = 1;
    std::uint64_t runs = 50000;
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
    alarm(secondsForOne);
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

/// The run that is under way, for whoever looks why the program ended in it.
std::array<char, 128> underWay;
void endsInIt(int /*signal*/)
{
    (void)!write(STDOUT_FILENO, underWay.data(), std::strlen(underWay.data()));
    _exit(1);
}

/// How often each kind of event came; false when one never did although there were runs enough.
bool sumUp(const Options& options, const Tally& tally, qint64 milliseconds)
{
    size_t kinds = 0;
    for (const auto& [what, times] : tally.coverage) {
        std::cout << std::setw(12) << times << "  " << what << '\n';
        kinds += times > 0;
    }
    std::cout << "seed " << options.seed << ": " << options.runs << " runs, " << tally.checks << " checks, "
              << tally.requests << " requests, " << kinds << " of " << allKinds << " kinds of events, "
              << std::fixed << std::setprecision(1) << double(milliseconds) / 1000 << " s, no difference\n";
    return kinds == allKinds || options.runs < minRunsForAll;
}

int run(const Options& options)
{
    for (const int signal : {SIGALRM, SIGSEGV, SIGABRT, SIGFPE}) {
        std::signal(signal, endsInIt);
    }
    if (!qEnvironmentVariableIsSet("RC_PARAMS")) {
        qputenv("RC_PARAMS", "seed=" + QByteArray::number(quint64(options.seed)) +
                                 " max_success=" + QByteArray::number(quint64(options.runs)));
    }
    QElapsedTimer timer;
    timer.start();
    RealSide side;
    Tally tally;
    std::uint64_t runs = 0;
    const rc::Gen<Schedule> schedule = schedules();
    const bool agree = rc::check("the client does what the rules say", [&] {
        std::snprintf(underWay.data(), underWay.size(),
                      "It crashes or hangs. Again: crptmodel --seed %ju --runs %ju\n",
                      std::uintmax_t(options.seed), std::uintmax_t(++runs));
        if (const QString wrong = disagreement(*schedule, side, tally); !wrong.isEmpty()) {
            RC_FAIL(wrong.toStdString());
        }
    });
    return agree && sumUp(options, tally, timer.elapsed()) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("Checks the online client against a model of its rules on random schedules.\n"
                 "What RC_PARAMS says comes first, such as reproduce=... of a run that failed.\n"
                 "Exit status: 0 no difference, 1 a difference (shown) or something never happened, 2 usage.",
                 "crptmodel");
    app.option_defaults()->always_capture_default();
    app.add_option("--seed", options.seed, "Seed of the schedules");
    app.add_option("--runs", options.runs, "How many schedules");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return run(options);
}
