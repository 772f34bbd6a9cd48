#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "CapturedLog.h"
#include "FailingAllocation.h"
#include "RecordedErrors.h"
#include "TestActiveObject.h"
#include "conn_common/Function2AOEvent.h"
#include "conn_common/SynchronizedTimerFactory.h"
#include "ipl/ErrorStorage.h"

namespace {

using namespace std::chrono_literals;
using common_::SynchronizedTimerFactory;
using tracing::Level;
using Handle = SynchronizedTimerFactory::TimerHandle;
using HandlePtr = SynchronizedTimerFactory::TimerHandlePtr;

constexpr auto kChannel = "CON_COMMON_TIMER";

class SynchronizedTimer : public testing::Test
{
protected:
    ~SynchronizedTimer() override
    {
        ao.run([this] {
            timer.reset();
            timers.reset();
        });
    }

    // Runs the callable until it is true; what it reads belongs to the active object.
    bool eventually(const std::function<bool()>& condition) const
    {
        bool holds = false;
        for (int turn = 0; !holds && turn < 5000; ++turn) {
            std::this_thread::sleep_for(turn == 0 ? 0ms : 1ms);
            ao.run([&] { holds = condition(); });
        }
        return holds;
    }

    const test_support::CapturedLog log;
    const test_support::TestActiveObject ao;
    std::unique_ptr<SynchronizedTimerFactory> timers = std::make_unique<SynchronizedTimerFactory>(ao.factory());
    HandlePtr timer;
    int expiries = 0;
    const SynchronizedTimerFactory::TimerCallback countExpiry = [this](void*) { ++expiries; };
};

TEST_F(SynchronizedTimer, ExpiresOnceOnTheActiveObjectWithItsHandle)
{
    const auto activeObject = ao.factory()->getActiveObject({});
    void* handle = nullptr;
    bool onActiveObject = false;
    bool runningInside = true;
    ao.run([&] {
        timer = timers->createStartedTimer(1ms, [&](void* fired) {
            ++expiries;
            handle = fired;
            onActiveObject = activeObject.isCurrent();
            runningInside = static_cast<Handle*>(fired)->isRunning();
        });
    });
    EXPECT_TRUE(eventually([&] { return expiries > 0; }));
    std::this_thread::sleep_for(20ms);
    ao.run([&] {
        EXPECT_EQ(expiries, 1);
        EXPECT_EQ(handle, timer.get());
        EXPECT_TRUE(onActiveObject);
        EXPECT_FALSE(runningInside);
        EXPECT_FALSE(timer->isRunning());
    });
    EXPECT_EQ(log.count(kChannel, Level::detail, "TIMERS::execute("), 1U);
}

TEST_F(SynchronizedTimer, RunsOnlyFromStartToStop)
{
    ao.run([&] {
        timer = timers->createTimer(100ms, countExpiry);
        EXPECT_FALSE(timer->isRunning());
        EXPECT_TRUE(timer->start());
        EXPECT_TRUE(timer->isRunning());
        timer->stop();
        EXPECT_FALSE(timer->isRunning());
    });
    std::this_thread::sleep_for(150ms);
    ao.run([&] {
        EXPECT_EQ(expiries, 0);
        timer->start();
    });
    EXPECT_TRUE(eventually([&] { return expiries == 1; }));
}

TEST_F(SynchronizedTimer, CallbackFindsItsTimerStoppedAndMayStartIt)
{
    constexpr int kRounds = 500;
    bool foundRunning = false;
    ao.run([&] {
        timer = timers->createStartedTimer(0ms, [&](void* fired) {
            auto* const handle = static_cast<Handle*>(fired);
            foundRunning = foundRunning || handle->isRunning();
            if (++expiries < kRounds) {
                expiries % 2 == 0 ? static_cast<void>(handle->start()) : handle->restart();
            }
        });
    });
    EXPECT_TRUE(eventually([&] { return expiries == kRounds; }));
    ao.run([&] { EXPECT_FALSE(foundRunning); });
}

TEST_F(SynchronizedTimer, RestartCountsTheIntervalFromNowOn)
{
    const auto begin = std::chrono::steady_clock::now();
    ao.run([&] { timer = timers->createStartedTimer(200ms, countExpiry); });
    std::this_thread::sleep_for(20ms);
    ao.run([&] {
        timer->restart();
        EXPECT_TRUE(timer->isRunning());
    });
    EXPECT_TRUE(eventually([&] { return expiries == 1; }));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 220ms);
}

TEST_F(SynchronizedTimer, ModifyStartsWithTheNewIntervalAndARefusedOneStops)
{
    ao.run([&] {
        timer = timers->createTimer(1h, countExpiry);
        timer->modify(1ms);
    });
    EXPECT_TRUE(eventually([&] { return expiries == 1; }));
    ao.run([&] {
        timer->start();
        timer->modify(2h);
        EXPECT_TRUE(timer->isRunning());
        timer->modify(-1ms);
        EXPECT_FALSE(timer->isRunning());
        EXPECT_FALSE(ipl::ErrorStorage::pending());
    });
}

TEST_F(SynchronizedTimer, RefusedTimerIsAnEmptyHandleAndALine)
{
    ao.run([&] {
        timer = timers->createTimer(-5ms, countExpiry);
        EXPECT_FALSE(timer);
        EXPECT_FALSE(ipl::ErrorStorage::pending());
    });
    EXPECT_EQ(
        log.count(kChannel, Level::warning,
                  "TIMERS::createTimer(240): IPL error at conn_common/src/SynchronizedTimer:240! Could not create "
                  "timer (interval=18446744073709551611ms)!,reason=negative timer interval"),
        1U);
}

TEST_F(SynchronizedTimer, FireAndForgetRunsOnceAndIsDestroyedInALaterEvent)
{
    const auto held = std::make_shared<int>(0);
    long heldInNextEvent = 0;
    ao.run([&] {
        timers->createFaFTimer(1h, countExpiry);
        timers->createFaFTimer(-1ms, countExpiry); // refused: an entry without a timer
        timers->createFaFTimer(1ms, [&, held](void*) {
            ++expiries;
            common_::enqueFunction2AOF(ao.factory(), [&] { heldInNextEvent = held.use_count(); });
        });
    });
    EXPECT_TRUE(log.waitFor("TIMERS::destroyFaFTimerFor("));
    ao.drain();
    EXPECT_EQ(log.count(kChannel, Level::milestone, "Timer vector size: 2"), 1U);
    EXPECT_EQ(expiries, 1);
    EXPECT_EQ(heldInNextEvent, 2);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(log.count(kChannel, Level::detail, "TIMERS::~SynchronizedTimerHandle("), 1U);
}

TEST_F(SynchronizedTimer, AllocationIsTriedAgainUntilThereIsMemory)
{
    const test_support::RecordedErrors errors;
    ao.run([&] {
        using test_support::FailingAllocation;
        const FailingAllocation failing{FailingAllocation::Kind::nonThrowing};
        timer = timers->createStartedTimer(1ms, countExpiry);
    });
    EXPECT_TRUE(eventually([&] { return expiries == 1; }));
    const auto calls = errors.outOfMemory();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_STREQ(calls[0].place.file, "conn_common/src/SynchronizedTimer");
    EXPECT_EQ(calls[0].place.line, 236);
    EXPECT_STREQ(calls[0].place.function, "createTimer");
    EXPECT_STREQ(calls[0].message, "Could not allocate memory");
}

TEST_F(SynchronizedTimer, DestroyedHandleIsNeverCalled)
{
    int late = 0;
    for (int round = 0; round < 300; ++round) {
        auto destroyed = std::make_shared<bool>(false);
        ao.run([&] {
            timer = timers->createStartedTimer(std::chrono::milliseconds{round % 2}, [this, &late, destroyed](void*) {
                ++expiries;
                late += *destroyed ? 1 : 0;
            });
        });
        // The round decides where on the expiry's way the destruction falls.
        const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds{(round % 50) * 30};
        while (std::chrono::steady_clock::now() < until) {
        }
        ao.run([&] {
            timer.reset();
            *destroyed = true;
        });
    }
    ao.drain();
    EXPECT_EQ(late, 0);
    EXPECT_GT(expiries, 0) << "no timer expired in time to meet its destruction";
}

TEST_F(SynchronizedTimer, IdUsedAgainLeadsToItsNewHandle)
{
    tracing::setThresholds("*=2");
    ao.run([&] {
        for (int id = 1; id <= 65535; ++id) {
            timer = timers->createTimer(1h, [](void*) {});
            timer.reset();
        }
        timer = timers->createStartedTimer(0ms, countExpiry);
    });
    EXPECT_TRUE(eventually([&] { return expiries == 1; }));
}

TEST_F(SynchronizedTimer, FactoryMayEndWhileTimersExpire)
{
    for (int round = 0; round < 300; ++round) {
        ao.run([&] {
            for (int count = 0; count < 3; ++count) {
                timers->createFaFTimer(0ms, countExpiry);
            }
            const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds{round % 100};
            while (std::chrono::steady_clock::now() < until) {
            }
            timers = std::make_unique<SynchronizedTimerFactory>(ao.factory());
        });
    }
    ao.drain();
    EXPECT_EQ(expiries, 0);
}

} // namespace
