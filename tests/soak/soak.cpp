// soak: eight threads of checks, pings and events against a till whose network never stays the same, and
// whose plug-in is loaded and unloaded all the while. Ends with figures, and with status 1 when a promise was
// broken.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <random>
#include <shared_mutex>
#include <stdexcept>
#include <thread>

#include <dlfcn.h>

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include "contracts/metatypes.h"
#include "tests/soak/footprint.h"
#include "tests/soak/till.h"
#include <log4qt/logmanager.h>
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/task.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int threadCount = 8;
constexpr auto requestTimeout = 1s;
constexpr auto moduleTimeout = 2s;
/// One request for the list and one probe for each of three sites, a second each.
constexpr auto maxUpdateTime = 4s;

/// What a check with this operation time-out may take at most: a search for sites, before its turn and in it,
/// each behind those of the other threads; its budget; the same time again for its turn at the local module,
/// which is then asked for its status and for the codes; and what a loaded machine adds.
constexpr std::chrono::seconds maxCheckTime(std::chrono::seconds operationTimeout)
{
    constexpr auto schedulingTime = 2s;
    return 2 * threadCount * maxUpdateTime + 2 * operationTimeout + 2 * moduleTimeout + schedulingTime;
}

struct Counts
{
    std::atomic<qint64> checks = 0, unserved = 0, passed = 0, failed = 0, offline = 0, pings = 0, events = 0,
                        loads = 0, faults = 0, slowestMs = 0, overOwnLimit = 0;
    std::atomic<qint64> lost = 0, late = 0, thrown = 0, stuck = 0;  ///< broken promises
};

class Soak
{
public:
    Soak(const MarkSim& stand, unsigned seed)
        : m_stand(stand)
        , m_seed(seed)
    {
    }

    void run(std::chrono::seconds length)
    {
        const auto end = Clock::now() + length;
        load();
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < threadCount; ++i) {
            threads.emplace_back([this, i] { workUntilEnd(i); });
        }
        threads.emplace_back([this] { breakThingsUntilEnd(); });
        std::mt19937 random(m_seed);
        while (Clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % 3000));
            m_till->stop();      // whatever is under way
            m_reloading = true;  // a lock alone would wait for ever: readers come first
            const std::unique_lock lock(m_loading);
            load();
            m_reloading = false;
        }
        m_ended = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        unload();
    }

    Counts counts;

private:
    void unload()
    {
        m_till.reset();
        counts.stuck += !keepsPluginMapped && isPluginLoaded();
    }

    void load()
    {
        unload();
        m_till.emplace(m_stand, moduleTimeout);
        m_till->connectOperator();
        ++counts.loads;
    }

    void workUntilEnd(unsigned number)
    {
        std::mt19937 random(m_seed + 1 + number);
        while (!m_ended) {
            if (m_reloading) {
                std::this_thread::sleep_for(1ms);
                continue;
            }
            // A host does not unload a library that one of its threads is in.
            const std::shared_lock lock(m_loading);
            try {
                work(random);
            } catch (...) {
                ++counts.thrown;
            }
        }
    }

    void work(std::mt19937& random)
    {
        const auto job = random() % 10;
        if (job < 7) {
            check(random);
        } else if (job == 7) {
            ping();
        } else if (job == 8) {
            Till::connectOperator(random() % 4 == 0 ? QStringList{} : QStringList{m_stand.key()},
                                  m_stand.operatorUrls());
            ++counts.events;
        } else {
            Singleton<ActivityNotifier>::instance()->sendEvent(
                Event(std::array{10, 11, 96, 172}[random() % 4]));
            ++counts.events;
        }
    }

    void check(std::mt19937& random)
    {
        static const QList<MarkingCode> basket = {goods::milk, goods::water, goods::expiredKefir,
                                                  MarkingCode(QStringLiteral("unknown"))};
        const QList<MarkingCode> codes = basket.mid(random() % 3, 1 + random() % 2);
        const std::chrono::seconds operationTimeout(2 + random() % 4);
        const auto start = Clock::now();
        const auto result = m_till->verify(codes, operationTimeout, requestTimeout);
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        ++counts.checks;
        counts.late += took > maxCheckTime(operationTimeout);
        counts.overOwnLimit += took > operationTimeout;
        for (qint64 slowest = counts.slowestMs;
             took.count() > slowest && !counts.slowestMs.compare_exchange_weak(slowest, took.count());) {
        }
        if (!result) {
            ++counts.unserved;
            return;
        }
        counts.passed += result->passedCodes.size();
        counts.failed += result->failedCodes.size();
        // A local module's result carries no reply of a site, and nothing at all when it cannot be read.
        const bool offline = result->status() == 0 && result->errorKind() == http::ErrorKind::None;
        counts.offline += offline;
        if (offline && result->passedCodes.isEmpty() && result->failedCodes.isEmpty()) {
            return;
        }
        for (const MarkingCode& code : codes) {
            const bool hasVerdict = result->passedCodes.contains(code) != result->failedCodes.contains(code);
            counts.lost += !hasVerdict && result->errorKind() != http::ErrorKind::NoToken;
        }
    }

    void ping()
    {
        const control::Action action(control::EActionType::CheckConnection);
        control::args::Plugin(action).setPluginName(QStringLiteral("crpt"));
        Singleton<ActionDispatcher>::instance()->perform(action);
        const auto task = action.value(QStringLiteral("pingTask")).value<QSharedPointer<BasicTask>>();
        if (task) {
            (void)Singleton<TaskManager>::instance()->start(task).get();
            ++counts.pings;
        }
    }

    void breakThingsUntilEnd()
    {
        static const QByteArrayList behaviours =
            QByteArray(R"([] [] [] {"connect":"refuse"} {"connect":"reset"} {"silent":true} {"status":503}
                {"status":203} {"status":429,"times":2} {"cut":{"after":40,"by":"reset"}}
                {"payload":"malformed"} {"latencyMs":50,"jitterMs":200})")
                .simplified()
                .split(' ');
        static const char* const servers[] = {"operator-1", "site-1", "site-2", "site-3", "module-1", "all"};
        std::mt19937 random(m_seed + 100);
        while (!m_ended) {
            m_stand.behave(servers[random() % std::size(servers)],
                           behaviours[qsizetype(random()) % behaviours.size()].constData());
            m_stand.forgetRequests();
            ++counts.faults;
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % 500));
        }
        for (const char* server : servers) {
            m_stand.behave(server, "[]");
        }
    }

    const MarkSim& m_stand;
    const unsigned m_seed;
    std::optional<Till> m_till;
    std::shared_mutex m_loading;
    std::atomic<bool> m_reloading = false;
    std::atomic<bool> m_ended = false;
};

void print(const Counts& counts)
{
    std::cout << "checks " << counts.checks << " (codes passed " << counts.passed << ", failed "
              << counts.failed << "; not taken while the plug-in was stopped " << counts.unserved
              << "; by the local module " << counts.offline << "), pings " << counts.pings << ", events "
              << counts.events << ", loads " << counts.loads << ", faults " << counts.faults
              << ", slowest check " << counts.slowestMs << " ms, longer than their operation time-out "
              << counts.overOwnLimit << "\n"
              << "codes without a verdict " << counts.lost << ", checks that were late " << counts.late
              << ", exceptions " << counts.thrown << ", unloads that left code behind " << counts.stuck
              << '\n';
}

/// What is logged from now on goes into the file.
void logTo(const std::string& file)
{
    QString error;
    if (!Log4Qt::LogManager::configure({.level = Log4Qt::Level::Debug, .file = QString::fromStdString(file)},
                                       &error)) {
        throw std::runtime_error(error.toStdString());
    }
}

int soak(std::chrono::seconds length, unsigned seed, const std::string& logFile)
{
    if (keepsPluginMapped && dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_NODELETE) == nullptr) {
        throw std::runtime_error(dlerror());
    }
    const MarkSim stand(MarkSim::startApart());
    logTo("/dev/null");
    // The first rounds fill what is kept for good: Qt's tables, libcurl, the allocator's arenas.
    const auto warmUp = std::max<std::chrono::seconds>(length / 4, 5s);
    Soak(stand, seed).run(warmUp);
    const Footprint before = Footprint::now();
    std::cout << "seed " << seed << "; after " << warmUp.count() << " s: " << before << std::endl;
    logTo(logFile);
    Soak soak(stand, seed + 1000);
    soak.run(length);
    (void)Log4Qt::LogManager::flush(10s);
    const Footprint after = Footprint::now();
    std::cout << "after " << length.count() << " s more: " << after << '\n';
    print(soak.counts);
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    constexpr bool isMemoryItsOwn = false;  // the sanitizer's is more, and grows
#else
    constexpr bool isMemoryItsOwn = true;
#endif
    const qint64 allowed = before.residentKiB + std::max<qint64>(before.residentKiB / 4, 16 * 1024);
    // One more may be on its way out; what leaks does so with every check or every load.
    const bool grew = after.files > before.files + 1 || after.threads > before.threads + 1 ||
                      (isMemoryItsOwn && after.residentKiB > allowed);
    const Counts& counts = soak.counts;
    const bool broken = counts.lost + counts.late + counts.thrown + counts.stuck > 0 || counts.passed == 0 ||
                        counts.failed == 0 || counts.offline == 0;
    std::cout << (grew ? "GREW" : "did not grow") << ", "
              << (broken ? "BROKE A PROMISE" : "kept its promises") << '\n';
    return grew || broken ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    contracts::registerMetaTypes();
    int seconds = 60;
    unsigned seed = 1;
    CLI::App app("Checks, pings and events from eight threads against a network that never stays the same.");
    app.add_option("--seconds", seconds, "How long, after a warm-up of a quarter of it")
        ->check(CLI::Range(1, 1'000'000));
    app.add_option("--seed", seed, "Of the choices; the threads' timing is not repeated by it");
    std::string logFile = "/dev/null";
    app.add_option("--log", logFile, "File for what the plug-in says after the warm-up");
    CLI11_PARSE(app, argc, argv);
    try {
        return soak(std::chrono::seconds(seconds), seed, logFile);
    } catch (const std::exception& error) {
        std::cerr << "soak: " << error.what() << '\n';
        return 2;
    }
}
