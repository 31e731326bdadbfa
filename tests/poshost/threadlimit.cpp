#include <atomic>
#include <cerrno>
#include <cstdlib>

#include <dlfcn.h>
#include <pthread.h>

/// For LD_PRELOAD: a system that gives a program no more than THREAD_LIMIT threads beside its first.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument)
{
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static auto* const create = reinterpret_cast<Create*>(::dlsym(RTLD_NEXT, "pthread_create"));
    static std::atomic<int> left = std::atoi(std::getenv("THREAD_LIMIT"));
    return left-- > 0 ? create(thread, attributes, start, argument) : EAGAIN;
}
