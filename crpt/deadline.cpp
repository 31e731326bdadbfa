#include "crpt/deadline.h"

#include <algorithm>

#include <utils/currenttime.h>

using std::chrono::nanoseconds;

Deadline Deadline::in(std::chrono::milliseconds limit)
{
    constexpr std::chrono::milliseconds maxLimit = std::chrono::hours(24 * 365 * 100);
    Deadline deadline;
    if (limit <= maxLimit) {
        deadline.m_time = MockFactory<CurrentTime>::create()->monotonic() + std::max(limit, -maxLimit);
    }
    return deadline;
}

nanoseconds Deadline::remaining() const
{
    return m_time == never ? never : m_time - MockFactory<CurrentTime>::create()->monotonic();
}

QDeadlineTimer Deadline::timer() const
{
    return m_time == never ? QDeadlineTimer(QDeadlineTimer::Forever)
                           : QDeadlineTimer(std::max(remaining(), nanoseconds::zero()), Qt::PreciseTimer);
}

void Deadline::postpone(nanoseconds by)
{
    m_time = m_time == never ? never : m_time + by;
}
