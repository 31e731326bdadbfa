#include <network/cancellation.h>

Cancellation& Cancellation::instance()
{
    // Never destroyed: a thread may still be in an exchange while the process ends.
    static auto* const cancellation = new Cancellation;
    return *cancellation;
}

void Cancellation::set(bool cancel)
{
    const std::lock_guard lock(m_runningMutex);
    m_canceled = cancel;
    if (!cancel) {
        return;
    }
    ++m_round;
    for (CURLM* multi : m_running) {
        curl_multi_wakeup(multi);
    }
}

Cancellation::Watch::Watch(CURLM* multi)
    : m_multi(multi)
{
    Cancellation& all = instance();
    const std::lock_guard lock(all.m_runningMutex);
    m_round = all.m_round;
    all.m_running.push_back(multi);
}

Cancellation::Watch::~Watch()
{
    Cancellation& all = instance();
    const std::lock_guard lock(all.m_runningMutex);
    std::erase(all.m_running, m_multi);
}

bool Cancellation::Watch::isCanceled() const
{
    const Cancellation& all = instance();
    return all.m_canceled || all.m_round != m_round;
}
