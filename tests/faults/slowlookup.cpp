#include "slowlookup.h"

#include <dlfcn.h>
#include <netdb.h>

#include <atomic>
#include <string_view>

namespace {

std::atomic<int> successesLeft = 0;
std::atomic<int> hanging = 0;
std::atomic<bool> mayEnd = true;

}  // namespace

SlowLookup::SlowLookup(int successes)
{
    successesLeft = successes;
    mayEnd = false;
}

SlowLookup::~SlowLookup()
{
    mayEnd = true;
    mayEnd.notify_all();
    while (const int waiting = hanging) {
        hanging.wait(waiting);
    }
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
    if (successesLeft-- > 0) {
        return next("127.0.0.1", service, hints, result);
    }
    if (asked == "unknown.test") {
        return EAI_NONAME;
    }
    ++hanging;
    mayEnd.wait(false);
    --hanging;
    hanging.notify_all();
    return EAI_AGAIN;
}
