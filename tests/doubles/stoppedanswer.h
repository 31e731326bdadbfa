#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "tests/doubles/scriptedclient.h"

/// Something that one thread announces and another waits for, each announcement once.
class Moment
{
public:
    void announce()
    {
        const std::lock_guard lock(m_mutex);
        ++m_count;
        m_changed.notify_one();
    }
    /// False when it does not come for 20 s, a bound for a test that fails.
    [[nodiscard]] bool comes()
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(20), [this] { return m_count > 0; }) &&
               m_count-- > 0;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
};

/// An answer that holds its first request up until it is told to go on.
class StoppedAnswer
{
public:
    [[nodiscard]] ScriptedClient::Answer of(ScriptedClient::Answer answer)
    {
        return [this, answer = std::move(answer)](const SentRequest& sent) {
            if (!m_stopped.exchange(true)) {
                m_arrived.announce();
                (void)m_goOn.comes();
            }
            return answer(sent);
        };
    }
    [[nodiscard]] bool isAsked() { return m_arrived.comes(); }
    void goOn() { m_goOn.announce(); }

private:
    std::atomic<bool> m_stopped = false;
    Moment m_arrived, m_goOn;
};
