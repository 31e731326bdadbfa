#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include <curl/curl.h>

/// Lets one thread end the exchanges that others are waiting for, in the whole process. Internal to the
/// library. Threads: any.
class Cancellation
{
public:
    static Cancellation& instance();

    /// True ends the running exchanges and those begun until the next call with false.
    void set(bool cancel);

    /// One exchange at work on `multi`, from its begin to its end: asks whether it is to end early.
    class Watch
    {
    public:
        explicit Watch(CURLM* multi);
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        ~Watch();

        [[nodiscard]] bool isCanceled() const;

    private:
        CURLM* m_multi;
        std::uint64_t m_round;
    };

private:
    std::atomic<bool> m_canceled = false;
    /// Counts the calls of set(true), so that one that is withdrawn at once still ends what was running.
    std::atomic<std::uint64_t> m_round = 0;

    std::mutex m_runningMutex;
    std::vector<CURLM*> m_running;
};
