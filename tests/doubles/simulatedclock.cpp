#include "tests/doubles/simulatedclock.h"

namespace {
constexpr std::chrono::nanoseconds Start = std::chrono::hours(1000);  // a machine that has been up for long
}

SimulatedClock::SimulatedClock()
    : m_now(Start)
{
    MockFactory<CurrentTime>::mocked = this;
}

SimulatedClock::~SimulatedClock()
{
    MockFactory<CurrentTime>::mocked = nullptr;
}

std::chrono::nanoseconds SimulatedClock::monotonic() const
{
    const auto now = m_now.load();
    if (onLook) {
        onLook();
    }
    return now;
}

QDateTime SimulatedClock::currentDateTime() const
{
    const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(monotonic() - Start);
    return QDateTime(QDate(2026, 1, 2), QTime(12, 0), Qt::UTC).addMSecs(passed.count());
}

void SimulatedClock::sleepFor(std::chrono::milliseconds duration) const
{
    advance(duration);
    if (onSleep) {
        onSleep();
    }
}

void SimulatedClock::advance(std::chrono::nanoseconds duration) const
{
    auto now = m_now.load();
    while (!m_now.compare_exchange_weak(now, now + duration)) {
    }
}
