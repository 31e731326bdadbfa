#include <chrono>
#include <thread>

#include <sys/resource.h>

#include "benchmarks/figure.h"
#include "benchmarks/plugin/servers.h"
#include "benchmarks/plugin/till.h"
#include "benchmarks/result/replies.h"

namespace bench {

namespace {

/// How often the process's threads have gone to sleep and woken up so far.
long wakeUps()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

}  // namespace

Figure measureIdle()
{
    constexpr std::chrono::seconds idle{10};
    Sites sites(1);
    sites.setReply(replyFor(codesOf(1)));
    Till till(sites);
    till.check(codesOf(1));
    std::this_thread::sleep_for(std::chrono::seconds(1));  // for what the check has left to do
    const long before = wakeUps();
    std::this_thread::sleep_for(idle);
    const auto woken = static_cast<double>(wakeUps() - before - 1);  // this thread, from its own sleep
    return {"Wake-ups in 10 s without work", "plug-in", "", {{"wake-ups", woken, 0, 0, woken, ""}}};
}

}  // namespace bench
