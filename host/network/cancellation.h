#pragma once

#include <atomic>

#include <curl/curl.h>

/// Ends every exchange of the process, the running ones and those begun until the next call with false.
/// Internal to the library. Threads: any.
void cancelExchanges(bool cancel);

/// One exchange at work on `multi`, from its begin to its end: asks whether it is to end early.
class CancellationWatch
{
public:
    explicit CancellationWatch(CURLM* multi);
    CancellationWatch(const CancellationWatch&) = delete;
    CancellationWatch& operator=(const CancellationWatch&) = delete;
    ~CancellationWatch();

    [[nodiscard]] bool isCanceled() const { return m_isCanceled; }
    void cancel();

private:
    CURLM* m_multi;
    /// Stays set when the cancellation is withdrawn at once.
    std::atomic<bool> m_isCanceled;
};
