#include <network/cancellation.h>

#include <mutex>
#include <vector>

namespace {

struct State
{
    std::mutex mutex;  // guards what follows
    bool isCanceled = false;
    std::vector<CancellationWatch*> running;
};

/// Never destroyed: a thread may still be in an exchange while the process ends.
State& state()
{
    static auto* const state = new State;
    return *state;
}

}  // namespace

void cancelExchanges(bool cancel)
{
    const std::lock_guard lock(state().mutex);
    state().isCanceled = cancel;
    for (CancellationWatch* watch : state().running) {
        if (cancel) {
            watch->cancel();
        }
    }
}

CancellationWatch::CancellationWatch(CURLM* multi)
    : m_multi(multi)
{
    const std::lock_guard lock(state().mutex);
    m_isCanceled = state().isCanceled;
    state().running.push_back(this);
}

CancellationWatch::~CancellationWatch()
{
    const std::lock_guard lock(state().mutex);
    std::erase(state().running, this);
}

void CancellationWatch::cancel()
{
    m_isCanceled = true;
    curl_multi_wakeup(m_multi);
}
