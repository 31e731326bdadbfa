#include <atomic>
#include <future>
#include <semaphore>
#include <stdexcept>
#include <vector>

#include "sync/fairmutex.h"
#include <gmock/gmock.h>

using namespace std::chrono_literals;

namespace {

/// Locks in another thread that then waits in the queue, and keeps what `work` does with the lock.
template <class Work>
std::future<void> queue(FairMutex& mutex, Work work)
{
    std::binary_semaphore begun(0);
    auto done = std::async(std::launch::async, [&mutex, &begun, work] {
        begun.release();
        const std::lock_guard lock(mutex);
        work();
    });
    begun.acquire();
    std::this_thread::sleep_for(20ms);  // it has nothing left to do but to wait
    return done;
}

TEST(FairMutex, IsHandedOverInOrderOfArrival)
{
    FairMutex mutex;
    std::vector<int> order;
    constexpr int waiters = 5;
    std::vector<std::future<void>> waiting;
    waiting.reserve(waiters);
    mutex.lock();
    for (int i = 0; i < waiters; ++i) {
        waiting.push_back(queue(mutex, [&order, i] { order.push_back(i); }));
    }
    mutex.unlock();
    mutex.lock();  // comes last, however quick it is
    order.push_back(5);
    mutex.unlock();
    for (auto& one : waiting) {
        one.wait();
    }
    EXPECT_THAT(order, testing::ElementsAre(0, 1, 2, 3, 4, 5));
}

TEST(FairMutex, IsGivenUpAtTheLimitAndThenLeftToTheOthers)
{
    FairMutex mutex;
    mutex.lock();
    auto impatient = std::async(std::launch::async, [&mutex] { return mutex.try_lock_for(50ms); });
    EXPECT_EQ(impatient.wait_for(10s), std::future_status::ready);
    EXPECT_FALSE(impatient.get());
    EXPECT_FALSE(std::async(std::launch::async, [&mutex] { return mutex.try_lock(); }).get());
    EXPECT_FALSE(std::async(std::launch::async, [&mutex] { return mutex.try_lock_for(-1s); }).get());
    auto patient = std::async(std::launch::async, [&mutex] {
        return mutex.try_lock_for(std::chrono::nanoseconds::max()) && (mutex.unlock(), true);
    });
    mutex.unlock();
    EXPECT_TRUE(patient.get());
    EXPECT_TRUE(mutex.try_lock()) << "nobody holds it any more";
    mutex.unlock();
}

TEST(FairMutex, MayBeLockedAgainByWhoHoldsIt)
{
    FairMutex mutex;
    mutex.lock();
    EXPECT_TRUE(mutex.try_lock());
    std::atomic<bool> taken = false;
    auto other = queue(mutex, [&taken] { taken = true; });
    mutex.unlock();
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(taken);
    mutex.unlock();
    other.wait();
    EXPECT_TRUE(taken);
}

TEST(FairMutex, RunsWhatMustNotBeLockedOnceItIsLetGo)
{
    FairMutex mutex;
    std::vector<int> order;
    const auto note = [&](int number) {
        mutex.runUnlocked([&, number] {
            const auto takenByAnother = [&] { return mutex.try_lock() && (mutex.unlock(), true); };
            EXPECT_TRUE(std::async(std::launch::async, takenByAnother).get());
            order.push_back(number);
            throw std::runtime_error("dropped");
        });
    };
    note(1);
    EXPECT_THAT(order, testing::ElementsAre(1)) << "at once when nobody holds it";
    {
        const std::lock_guard outer(mutex);
        {
            const std::lock_guard inner(mutex);
            note(2);
        }
        note(3);
        EXPECT_EQ(order.size(), 1U);
    }
    EXPECT_THAT(order, testing::ElementsAre(1, 2, 3));
    mutex.lock();
    mutex.unlock();
    EXPECT_EQ(order.size(), 3U) << "once only";
}

}  // namespace
