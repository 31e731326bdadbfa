#include <utils/currenttime.h>

#include <thread>

template class MockFactory<CurrentTime>;

QDateTime CurrentTime::currentDateTime() const
{
    return QDateTime::currentDateTimeUtc();
}

std::chrono::nanoseconds CurrentTime::monotonic() const
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

void CurrentTime::sleepFor(std::chrono::milliseconds duration) const
{
    std::this_thread::sleep_for(duration);
}
