#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "CapturedLog.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "conn_common/SynchronizedTimerFactory.h"
#include "osal/Alarm.h"

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

    std::size_t posted() const { return log.count("CON_COMMON_TIMER", tracing::Level::detail, "execute"); }

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

TEST_F(SynchronizedTimer, OnlyStartKeepsAPostedExpiry)
{
    // Lets an expiry be posted before the operation, and waits for those that follow it.
    const auto deliveredOf = [this](std::size_t postings, auto operation) {
        const auto before = posted();
        expiries = 0;
        ao.run([&] {
            timer = timers->createStartedTimer(0ms, countExpiry);
            EXPECT_TRUE(test_support::eventually([&] { return posted() == before + 1; }));
            operation(*timer);
        });
        EXPECT_TRUE(test_support::eventually([&] { return posted() == before + postings; }));
        ao.drain();
        return expiries.load();
    };
    EXPECT_EQ(deliveredOf(1, [](auto& one) { one.stop(); }), 0);
    EXPECT_EQ(deliveredOf(2, [](auto& one) { one.restart(); }), 1);
    EXPECT_EQ(deliveredOf(2, [](auto& one) { one.modify(1ms); }), 1);
    EXPECT_EQ(deliveredOf(2, [](auto& one) { one.start(); }), 2);
}

TEST_F(SynchronizedTimer, AlarmsAndAllTimersShareOneThread)
{
    const SynchronizedTimerFactory more{ao.factory()};
    const osal::Alarm alarm{osal::Alarm::DEFAULT_TIMER, [] {}};
    EXPECT_TRUE(test_support::eventually([] {
        int threads = 0;
        for (const auto& thread : std::filesystem::directory_iterator{"/proc/self/task"}) {
            std::string name;
            std::ifstream{thread.path() / "comm"} >> name;
            threads += name == "TimerGroup" ? 1 : 0;
        }
        return threads == 1;
    }));
}

TEST_F(SynchronizedTimer, FireAndForgetIsDestroyedAfterItsOnlyCallback)
{
    const auto held = std::make_shared<int>(0);
    ao.run([&] {
        timers->createFaFTimer(1h, countExpiry);
        timers->createFaFTimer(-1ms, countExpiry); // refused: an entry without a timer
        timers->createFaFTimer(1ms, [this, held](void*) {
            ++expiries;
            throw std::runtime_error{"a callback that fails"};
        });
    });
    EXPECT_TRUE(log.waitFor("Timer vector size: 2"));
    ao.drain();
    EXPECT_EQ(expiries, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SynchronizedTimer, TimersAndTheirFactoryMayEndWhileTheyExpireAndAreSilentAfterwards)
{
    constexpr int kRounds = 600;
    // Some more where the timers' thread has to wait for its turn.
    for (int round = 0; round < kRounds || (round < 20 * kRounds && posted() == 0); ++round) {
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
    EXPECT_GT(posted(), 0U);
}

} // namespace
