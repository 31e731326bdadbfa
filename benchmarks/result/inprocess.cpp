// What runs in the process: Google Benchmark measures, the rows compare.

#include <array>
#include <map>
#include <optional>

#include <QJsonDocument>
#include <benchmark/benchmark.h>

#include "benchmarks/benchmarks.h"
#include "benchmarks/result/replies.h"
#include "crpt/resultfitting.h"
#include "lmchz/lmchzclient.h"
#include <config/config.h>
#include <log4qt/logmanager.h>
#include <network/restclient.h>

namespace bench {

namespace {

/// Keeps the time of each repetition by the benchmark's name, "<what>/<size>".
class Recorder : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                times[run.run_name.function_name + '/' + run.run_name.args].push_back(
                    run.GetAdjustedRealTime());
            }
        }
    }

    [[nodiscard]] double medianOf(const std::string& name, int size) const
    {
        return median(times.at(name + '/' + std::to_string(size)));
    }

    std::map<std::string, std::vector<double>> times;
};

using Work = std::function<void(benchmark::State&, int)>;

void add(const char* name, const Work& work, const std::vector<int>& sizes)
{
    auto* registered = benchmark::RegisterBenchmark(
        name, [work](benchmark::State& state) { work(state, static_cast<int>(state.range(0))); });
    registered->Unit(benchmark::kNanosecond)->Repetitions(3)->MinTime(0.05);
    for (const int size : sizes) {
        registered->Arg(size);
    }
}

/// By turns: repetitions of all of them in random order.
Recorder runAll()
{
    static bool initialized = false;
    if (!initialized) {
        std::array arguments = {const_cast<char*>("bench"),
                                const_cast<char*>("--benchmark_enable_random_interleaving=true")};
        int count = static_cast<int>(arguments.size());
        benchmark::Initialize(&count, arguments.data());
        initialized = true;
    }
    Recorder recorder;
    benchmark::RunSpecifiedBenchmarks(&recorder);
    benchmark::ClearRegisteredBenchmarks();
    return recorder;
}

http::Response responseOf(const QByteArray& body)
{
    http::Response response;
    response.setStatus(200);
    response.setBody(body);
    return response;
}

CheckMarkingCodesResult resultOf(const QByteArray& body)
{
    return CheckMarkingCodesResult{CheckMarkingCodesReply(responseOf(body))};
}

void readReply(benchmark::State& state, int size)
{
    const QByteArray body = replyFor(codesOf(size));
    for (auto _ : state) {
        benchmark::DoNotOptimize(resultOf(body));
    }
}

void readRefusal(benchmark::State& state, int size)
{
    const QByteArray body = refusalFor(codesOf(size));
    for (auto _ : state) {
        benchmark::DoNotOptimize(resultOf(body));
    }
}

template <QByteArray (*Reply)(const QList<MarkingCode>&)>
void readJson(benchmark::State& state, int size)
{
    const QByteArray body = Reply(codesOf(size));
    for (auto _ : state) {
        benchmark::DoNotOptimize(QJsonDocument::fromJson(body));
    }
}

/// A copy that shares nothing, so that what is measured has nothing to copy.
CheckMarkingCodesResult ownCopyOf(const CheckMarkingCodesResult& result)
{
    CheckMarkingCodesResult copy = result;
    copy.passedCodes.detach();
    copy.failedCodes.detach();
    copy.requestInfos.detach();
    copy.expireDates.detach();
    copy.productWeights.detach();
    copy.mrps.detach();
    return copy;
}

/// Measures `change` of a result, without the copy that it changes.
void measureChange(benchmark::State& state, const CheckMarkingCodesResult& before, const auto& change)
{
    for (auto _ : state) {
        state.PauseTiming();
        std::optional<CheckMarkingCodesResult> result = ownCopyOf(before);
        state.ResumeTiming();
        change(*result);
        benchmark::DoNotOptimize(result);
        state.PauseTiming();
        result.reset();
        state.ResumeTiming();
    }
}

/// Half of the codes of one are in the other, half of them pass.
void merge(benchmark::State& state, int size)
{
    const CheckMarkingCodesResult one = resultOf(refusalFor(codesOf(size)));
    const CheckMarkingCodesResult other = resultOf(replyFor(codesOf(size, size / 2)));
    measureChange(state, one, [&](CheckMarkingCodesResult& result) { result += other; });
}

void ignore(benchmark::State& state, int size)
{
    const CheckMarkingCodesResult refused = resultOf(refusalFor(codesOf(size)));
    measureChange(state, refused,
                  [](CheckMarkingCodesResult& result) { result.ignore(CheckMarkingCodesResult::Sold); });
}

void hasError(benchmark::State& state, int size)
{
    const CheckMarkingCodesResult refused = resultOf(refusalFor(codesOf(size)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(refused.hasError(CheckMarkingCodesResult::Expired));
    }
}

/// The reply leaves half of the codes out.
void fit(benchmark::State& state, int size)
{
    const QList<MarkingCode> codes = codesOf(size);
    const CheckMarkingCodesResult answered = resultOf(replyFor(codes.first(size / 2)));
    measureChange(state, answered, [&](CheckMarkingCodesResult& result) { fitToErrorKind(result, codes); });
}

/// A local module that answers at once.
class InstantModule : public RestClient
{
public:
    explicit InstantModule(const QList<MarkingCode>& codes)
    {
        QList<MarkingCode> identities;
        for (const MarkingCode& code : codes) {
            identities.append(code.identity());
        }
        m_check = responseOf(R"({"results":[)" + replyFor(identities) + "]}");
        MockFactory<RestClient>::mocked = this;
    }
    ~InstantModule() override { MockFactory<RestClient>::mocked = nullptr; }

    http::Response get(const QUrl&, const QJsonDocument&, const QHash<QString, QString>&) override
    {
        return responseOf(R"({"status":"ready"})");
    }
    http::Response post(const QUrl&, const QJsonDocument&, const QHash<QString, QString>&) override
    {
        return responseOf(m_check.body());  // not read yet
    }

private:
    http::Response m_check;
};

void askModule(benchmark::State& state, int size)
{
    Log4Qt::LogSettings log;
    log.level = Log4Qt::Level::Error;
    Log4Qt::LogManager::configure(log);
    const QList<MarkingCode> codes = codesOf(size);
    const InstantModule module(codes);
    auto* config = Singleton<Config>::instance();
    config->setValue("LMCHZ:enable", "true");
    config->setValue("LMCHZ:token", "key");
    LmchzClient client;
    for (auto _ : state) {
        const CheckMarkingCodesResult result = client.checkMarkingCodes({}, codes, "key");
        if (result.passedCodes.size() != size) {
            state.SkipWithError("the module's verdicts did not arrive");
        }
    }
    config->clear();
}

}  // namespace

Figure measureReply()
{
    const std::vector<int> sizes = {1, 100, 10'000, 100'000};
    add("passed", readReply, sizes);
    add("passed json", readJson<replyFor>, sizes);
    add("refused", readRefusal, sizes);
    add("refused json", readJson<refusalFor>, sizes);
    const Recorder recorder = runAll();

    Figure figure{"reply",
                  "A reply's bytes to a result, against the reading of its JSON",
                  "to a result",
                  "QJsonDocument",
                  {}};
    for (const std::string kind : {"passed", "refused"}) {
        for (const int size : sizes) {
            Row row;
            row.what = counted(size, "code") + ", " + QString::fromStdString(kind);
            row.unit = "µs";
            row.ours = recorder.medianOf(kind, size) / 1000;
            row.other = recorder.medianOf(kind + " json", size) / 1000;
            row.goal = 1.6;
            figure.rows.push_back(row);
        }
        Row row;
        row.what =
            QStringLiteral("time for a code, of 100 and of 100,000, %1").arg(QString::fromStdString(kind));
        row.unit = "ns";
        row.ours = recorder.medianOf(kind, 100'000) / 100'000;
        row.other = recorder.medianOf(kind, 100) / 100;
        row.goal = 1.5;
        figure.rows.push_back(row);
    }
    return figure;
}

Figure measureGrowth()
{
    const std::vector<int> sizes = {100, 1000, 10'000, 100'000};
    const std::vector<std::pair<const char*, Work>> works = {{"merge (operator+=)", merge},
                                                             {"ignore", ignore},
                                                             {"hasError", hasError},
                                                             {"fit to the error kind", fit},
                                                             {"local module, read and re-keyed", askModule}};
    for (const auto& [name, work] : works) {
        add(name, work, sizes);
    }
    const Recorder recorder = runAll();

    Figure figure{"growth", "How cost grows with the number of codes", "100,000 codes", "100 codes", {}};
    for (const auto& [name, work] : works) {
        std::vector<double> n, costs;
        for (const int size : sizes) {
            n.push_back(size);
            costs.push_back(recorder.medianOf(name, size));
        }
        Row row;
        row.what = name;
        row.unit = "µs";
        row.ours = costs.back() / 1000;
        row.other = costs.front() / 1000;
        row.value = exponent(n, costs);
        row.goal = 1.1;
        row.note = "exponent instead of ratio";
        figure.rows.push_back(row);
    }
    return figure;
}

}  // namespace bench
