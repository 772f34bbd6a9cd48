#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "ipl/ErrorStorage.h"
#include "util/TimerGroup.h"

namespace {

using namespace std::chrono_literals;
using util::TimerGroup;
using Ids = std::vector<std::uint64_t>;

class RecordingCallback final : public util::TimerCallbackBase
{
public:
    void onTimerExpired(std::uint64_t id) override
    {
        const std::lock_guard lock{m_mutex};
        m_expired.push_back(id);
        m_changed.notify_all();
    }

    // The expiries so far, as soon as there are that many, or after five seconds.
    Ids expired(std::size_t atLeast)
    {
        std::unique_lock lock{m_mutex};
        m_changed.wait_for(lock, 5s, [&] { return m_expired.size() >= atLeast; });
        return m_expired;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Ids m_expired;
};

TEST(TimerGroup, TimersExpireInTheOrderOfTheirTimes)
{
    RecordingCallback callback;
    TimerGroup group{1, 10};
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(group.addTimer(1h, false, callback, true), 1U);
    EXPECT_EQ(group.addTimer(150ms, false, callback, true), 2U);
    EXPECT_EQ(group.addTimer(50ms, false, callback, true), 3U);
    EXPECT_EQ(group.addTimer(100ms, false, callback, false), 4U);
    group.startTimer(4);
    EXPECT_EQ(callback.expired(3), (Ids{3, 4, 2}));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 150ms);
}

TEST(TimerGroup, StoppedRemovedAndUnknownTimersAreSilent)
{
    RecordingCallback callback;
    TimerGroup group{1, 10};
    const auto stopped = group.addTimer(100ms, false, callback, true);
    const auto removed = group.addTimer(100ms, false, callback, true);
    group.stopTimer(stopped);
    group.removeTimer(removed);
    group.startTimer(removed);
    group.startTimer(99);
    const auto last = group.addTimer(110ms, false, callback, true);
    EXPECT_EQ(callback.expired(1), Ids{last});
}

TEST(TimerGroup, CyclicTimerGoesOnUntilItIsStopped)
{
    RecordingCallback callback;
    TimerGroup group{1, 10};
    const auto id = group.addTimer(1ms, true, callback, true);
    EXPECT_GE(callback.expired(3).size(), 3U);
    group.stopTimer(id);
}

TEST(TimerGroup, StartAgainMovesTheExpiry)
{
    RecordingCallback callback;
    TimerGroup group{1, 10};
    const auto moved = group.addTimer(50ms, false, callback, true);
    const auto other = group.addTimer(50ms, false, callback, true);
    group.startTimer(moved);
    EXPECT_EQ(callback.expired(2), (Ids{other, moved}));
}

TEST(TimerGroup, OnlyAStoppedTimerTakesANewInterval)
{
    RecordingCallback callback;
    TimerGroup group{1, 10};
    const auto id = group.addTimer(1h, false, callback, true);
    EXPECT_TRUE(group.modifyTimer(id, 1ms, false));
    group.stopTimer(id);
    EXPECT_TRUE(group.modifyTimer(id, -1ms, false));
    EXPECT_TRUE(group.modifyTimer(99, 1ms, false));
    ipl::ErrorStorage::ack();
    EXPECT_FALSE(group.modifyTimer(id, 1ms, false));
    EXPECT_FALSE(ipl::ErrorStorage::pending());
    group.startTimer(id);
    EXPECT_EQ(callback.expired(1), Ids{id});
}

TEST(TimerGroup, IdsComeBackInTurnAndRunOut)
{
    RecordingCallback callback;
    TimerGroup group{1, 3};
    for (const std::uint64_t id : {1U, 2U, 3U}) {
        EXPECT_EQ(group.addTimer(1h, false, callback, false), id);
    }
    EXPECT_EQ(group.addTimer(1h, false, callback, false), TimerGroup::kNoTimer);
    EXPECT_STREQ(ipl::ErrorStorage::reason(), "all 3 timer ids are in use");
    ipl::ErrorStorage::ack();
    group.removeTimer(1);
    group.removeTimer(2);
    EXPECT_EQ(group.addTimer(1h, false, callback, false), 1U);
    group.removeTimer(1);
    EXPECT_EQ(group.addTimer(1h, false, callback, false), 2U); // 1 was given out last
    EXPECT_EQ(group.addTimer(-1ms, false, callback, false), TimerGroup::kNoTimer);
    ipl::ErrorStorage::ack();
}

TEST(TimerGroup, IntervalOfCenturiesDoesNotOverflow)
{
    RecordingCallback callback;
    TimerGroup group{1, 3};
    group.addTimer(std::chrono::milliseconds::max(), false, callback, true);
    const auto shorter = group.addTimer(10ms, false, callback, true);
    EXPECT_EQ(callback.expired(1), Ids{shorter});
}

TEST(TimerGroup, CallbackMayUseTheGroup)
{
    class SelfRemoving final : public util::TimerCallbackBase
    {
    public:
        explicit SelfRemoving(RecordingCallback& next) : m_next{next} {}
        void onTimerExpired(std::uint64_t id) override
        {
            group.removeTimer(id);
            group.addTimer(0ms, false, m_next, true);
        }

    private:
        RecordingCallback& m_next;

    public:
        TimerGroup group{1, 2};
    };
    RecordingCallback next;
    SelfRemoving callback{next};
    callback.group.addTimer(0ms, false, callback, true);
    EXPECT_EQ(next.expired(1), Ids{2});
}

TEST(TimerGroup, EndsAtOnceWhileTimersExpireAndThreadsStartThem)
{
    for (int round = 0; round < 50; ++round) {
        RecordingCallback callback;
        TimerGroup group{1, 20};
        group.addTimer(0ms, true, callback, true);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 2; ++thread) {
            threads.emplace_back([&] {
                for (int count = 0; count < 50; ++count) {
                    const auto id = group.addTimer(0ms, false, callback, true);
                    group.stopTimer(id);
                    group.startTimer(id);
                    group.removeTimer(id);
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
    }
}

} // namespace
