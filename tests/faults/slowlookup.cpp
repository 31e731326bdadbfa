#include "slowlookup.h"

#include <dlfcn.h>
#include <netdb.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string_view>

namespace {

// A client that waits for the look-up fails its test rather than hanging it.
constexpr std::chrono::seconds LongWait(30);

std::mutex lookupMutex;  // guards what follows
std::condition_variable changed;
int successesLeft = 0;
int hanging = 0;
bool mayEnd = true;

}  // namespace

SlowLookup::SlowLookup(int successes)
{
    const std::lock_guard lock(lookupMutex);
    successesLeft = successes;
    mayEnd = false;
}

SlowLookup::~SlowLookup()
{
    std::unique_lock lock(lookupMutex);
    mayEnd = true;
    changed.notify_all();
    changed.wait(lock, [] { return hanging == 0; });
}

/// Stands before the C library's function of that name, also for libcurl.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result)
{
    static const auto next = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const std::string_view asked(name != nullptr ? name : "");
    if (!asked.ends_with(".test")) {
        return next(name, service, hints, result);
    }
    std::unique_lock lock(lookupMutex);
    if (successesLeft-- > 0) {
        return next("127.0.0.1", service, hints, result);
    }
    if (asked == "unknown.test") {
        return EAI_NONAME;
    }
    ++hanging;
    changed.wait_for(lock, LongWait, [] { return mayEnd; });
    --hanging;
    changed.notify_all();
    return EAI_AGAIN;
}
