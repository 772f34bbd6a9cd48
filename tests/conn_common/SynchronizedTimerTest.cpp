#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "CapturedLog.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "conn_common/SynchronizedTimerFactory.h"

namespace {

using namespace std::chrono_literals;
using common_::SynchronizedTimerFactory;
using Clock = std::chrono::steady_clock;

void spin(std::chrono::microseconds time)
{
    for (const auto end = Clock::now() + time; Clock::now() < end;) {
    }
}

struct SynchronizedTimer : testing::Test
{
    ~SynchronizedTimer() override
    {
        ao.run([this] {
            timer.reset();
            timers.reset();
        });
    }

    bool expired(int times) const
    {
        return test_support::eventually([&] { return expiries == times; });
    }

    const test_support::CapturedLog log;
    const test_support::TestActiveObject ao{};
    std::unique_ptr<SynchronizedTimerFactory> timers = std::make_unique<SynchronizedTimerFactory>(ao.factory());
    SynchronizedTimerFactory::TimerHandlePtr timer;
    std::atomic<int> expiries{0};
    const SynchronizedTimerFactory::TimerCallback countExpiry = [this](void*) { ++expiries; };
};

TEST_F(SynchronizedTimer, CallbackOnTheActiveObjectFindsItsTimerStoppedAndMayStartIt)
{
    const auto activeObject = ao.factory()->getActiveObject({});
    bool asPromised = true;
    ao.run([&] {
        timer = timers->createStartedTimer(0ms, [&](void* handle) {
            asPromised = asPromised && handle == timer.get() && !timer->isRunning() && activeObject.isCurrent();
            if (++expiries < 500) {
                expiries % 2 == 0 ? static_cast<void>(timer->start()) : timer->restart();
            }
        });
    });
    EXPECT_TRUE(expired(500));
    EXPECT_TRUE(asPromised);
}

TEST_F(SynchronizedTimer, RestartAndModifyMoveTheExpiryAndStopPreventsIt)
{
    const auto begin = Clock::now();
    ao.run([&] { timer = timers->createStartedTimer(200ms, countExpiry); });
    std::this_thread::sleep_for(20ms);
    ao.run([&] { timer->restart(); });
    EXPECT_TRUE(expired(1));
    EXPECT_GE(Clock::now() - begin, 220ms);
    ao.run([&] {
        timer->modify(20ms);
        timer->stop();
    });
    std::this_thread::sleep_for(50ms);
    ao.run([&] {
        timer->modify(-1ms); // refused
        EXPECT_FALSE(timer->isRunning());
        timer->modify(1ms);
    });
    EXPECT_TRUE(expired(2));
}

TEST_F(SynchronizedTimer, FireAndForgetRunsOnceAndIsDestroyedAfterwards)
{
    const auto held = std::make_shared<int>(0);
    ao.run([&] {
        timers->createFaFTimer(1h, countExpiry);
        timers->createFaFTimer(-1ms, countExpiry); // refused: an entry without a timer
        timers->createFaFTimer(1ms, [this, held](void*) { ++expiries; });
    });
    EXPECT_TRUE(log.waitFor("Timer vector size: 2"));
    ao.drain();
    EXPECT_EQ(expiries, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SynchronizedTimer, TimersAndTheirFactoryMayEndWhileTheyExpireAndAreSilentAfterwards)
{
    constexpr int kRounds = 600;
    const auto expired = [&] { return log.count("CON_COMMON_TIMER", tracing::Level::detail, "execute") > 0; };
    // Some more where the timers' thread has to wait for its turn.
    for (int round = 0; round < kRounds || (round < 20 * kRounds && !expired()); ++round) {
        ao.run([&] {
            timer = timers->createStartedTimer(0ms, countExpiry);
            timers->createFaFTimer(0ms, countExpiry);
            spin(round % 100 * (1 + round / kRounds) * 2us); // where on the expiry's way the destruction falls
            timer.reset();
            timers = std::make_unique<SynchronizedTimerFactory>(ao.factory());
        });
    }
    ao.drain();
    EXPECT_EQ(expiries, 0);
    EXPECT_TRUE(expired());
}

} // namespace
