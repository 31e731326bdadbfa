#include "slowlookup.h"

#include <dlfcn.h>
#include <netdb.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>

namespace {

struct Gate
{
    std::mutex mutex;
    std::condition_variable changed;
    bool closed = false;
    int waiting = 0;
    int finished = 0;
};

Gate& gate()
{
    static auto* const only = new Gate;
    return *only;
}

void waitAtGate()
{
    Gate& g = gate();
    std::unique_lock lock(g.mutex);
    ++g.waiting;
    // A client that waits for the look-up fails its test rather than hanging it.
    g.changed.wait_for(lock, std::chrono::seconds(20), [&] { return !g.closed; });
    --g.waiting;
    ++g.finished;
    g.changed.notify_all();
}

}  // namespace

SlowLookup::SlowLookup()
{
    const std::lock_guard lock(gate().mutex);
    gate().closed = true;
    gate().finished = 0;
}

SlowLookup::~SlowLookup()
{
    std::unique_lock lock(gate().mutex);
    gate().closed = false;
    gate().changed.notify_all();
    gate().changed.wait(lock, [] { return gate().waiting == 0; });
}

int SlowLookup::finished()
{
    const std::lock_guard lock(gate().mutex);
    return gate().finished;
}

/// Stands before the C library's function of that name, also for libcurl.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result)
{
    if (name != nullptr && std::strcmp(name, "slow.test") == 0) {
        waitAtGate();
        return EAI_AGAIN;
    }
    if (name != nullptr && std::strcmp(name, "unknown.test") == 0) {
        return EAI_NONAME;
    }
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return next(name, service, hints, result);
}
