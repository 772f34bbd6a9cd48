#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Eventually.h"
#include "FailingAllocation.h"
#include "RecordedErrors.h"
#include "TestActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/EasyCallAO.h"
#include "conn_common/Function2AOEvent.h"
#include "conn_common/HandOver.h"
#include "conn_common/SafeCallbackProxy.h"
#include "util/Thread.h"

namespace {

using common_::DelayedCallbackBase;
using common_::SafeCallbackProxy;
using test_support::FailingAllocation;
using test_support::TestActiveObject;

TEST(DelayedCallback, CallsOfTwoThreadsRunOnTheActiveObjectInTheOrderOfEachThread)
{
    constexpr int kCalls = 5000;
    using Call = std::pair<std::size_t, int>;
    const TestActiveObject ao;
    const auto activeObject = ao.factory()->getActiveObject({});
    std::array<int, 2> next{};
    bool inOrder = true;
    DelayedCallbackBase<Call> callback{ao.factory(), [&](const Call& call) {
                                           inOrder = inOrder && activeObject.isCurrent();
                                           inOrder = inOrder && call.second == next.at(call.first)++;
                                       }};
    const auto schedule = [&callback](std::size_t thread) {
        for (int call = 0; call < kCalls; ++call) {
            callback.schedule({thread, call});
        }
    };
    std::thread other{schedule, 1};
    schedule(0);
    other.join();
    ao.drain();
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(next, (std::array{kCalls, kCalls}));
}

TEST(DelayedCallback, ArgumentsAreReleasedWhetherTheirEventsRunOrNot)
{
    using Shared = std::shared_ptr<int>;
    const TestActiveObject ao;
    const auto calls = std::make_shared<int>(0);
    const auto count = [](const Shared& counter) { ++*counter; };
    DelayedCallbackBase<Shared> callback{ao.factory(), count};
    callback.schedule(calls);
    ao.run([&] { DelayedCallbackBase<Shared>{ao.factory(), count}.schedule(calls); });
    ao.drain();
    EXPECT_EQ(calls.use_count(), 1);
    ao.run([&] {
        callback.schedule(calls);
        ao.stop(); // the event is cancelled
    });
    EXPECT_TRUE(test_support::eventually([&] { return calls.use_count() == 1; }));
    callback.schedule(calls); // an active object that has ended
    EXPECT_EQ(calls.use_count(), 1);
    EXPECT_EQ(*calls, 1);
}

TEST(HandOver, SlotIsFreeOnceItsWorkIsTakenOrDestroyed)
{
    const TestActiveObject ao;
    int taken = 0;
    std::optional<common_::HandOver<int>> handOver;
    const auto fill = [&] {
        handOver.emplace(ao.factory(), 2, [&](int work) {
            taken += work;
            EXPECT_FALSE(handOver->full()) << "the target may post";
        });
        EXPECT_TRUE(handOver->post(1) && !handOver->full() && handOver->post(2) && handOver->full());
    };
    ao.run(fill);
    ao.drain();
    EXPECT_EQ(taken, 3);
    ao.run(fill);
    ao.run([&] {
        fill(); // the queue outlives the hand-over whose work it holds
        handOver.reset();
        fill();
        ao.stop(); // the work is destroyed unrun
    });
    EXPECT_TRUE(test_support::eventually([&] { return !handOver->full(); }));
    EXPECT_TRUE(handOver->post(1) && handOver->post(1) && handOver->post(1)) << "the active object has ended";
    EXPECT_EQ(taken, 6);
}

TEST(HandOver, PostWaitsForRoomUntilItsThreadIsToStop)
{
    const TestActiveObject ao;
    int taken = 0;
    std::atomic<int> posted{0};
    common_::HandOver<int> handOver{ao.factory(), 3, [&](int) { ++taken; }};
    util::Thread reader{"Reader",
                        [&] {
                            while (handOver.post(0)) {
                                ++posted;
                            }
                        },
                        [&] { handOver.close(); }};
    ao.run([&] {
        EXPECT_FALSE(reader.start());
        EXPECT_TRUE(test_support::eventually([&] { return handOver.full(); }));
        std::this_thread::sleep_for(std::chrono::milliseconds{50});
        EXPECT_EQ(posted, 3);
    });
    EXPECT_TRUE(test_support::eventually([&] { return posted > 1000; }));
    ao.run([&] {
        reader.requestStop();
        EXPECT_FALSE(reader.join());
    });
    ao.drain();
    EXPECT_EQ(taken, posted);
    EXPECT_FALSE(handOver.post(0));
}

TEST(PostedFunction, RunsOnceAndNotWithoutItsOwnerOrActiveObject)
{
    struct Poster : common_::EasyCallAO
    {
        using EasyCallAO::EasyCallAO;
    };
    const TestActiveObject ao;
    const auto calls = std::make_shared<int>(0);
    const auto post = [&] { common_::enqueFunction2AOF(ao.factory(), [calls] { ++*calls; }); };
    Poster poster{ao.factory()};
    poster.post({});
    poster.post([calls] { ++*calls; });
    ao.run([&] { Poster{ao.factory()}.post([calls] { ++*calls; }); });
    post();
    ao.drain();
    ao.stop();
    post();
    EXPECT_EQ(*calls, 2);
    EXPECT_EQ(calls.use_count(), 1);
}

TEST(PostedFunction, IsAllocatedAgainUntilThereIsMemory)
{
    const test_support::RecordedErrors errors;
    const TestActiveObject ao;
    const auto calls = std::make_shared<int>(0);
    {
        const FailingAllocation failing{FailingAllocation::Kind::throwing};
        common_::enqueFunction2AOF(ao.factory(), [calls] { ++*calls; });
    }
    ao.drain();
    EXPECT_EQ(*calls, 1);
    EXPECT_EQ(errors.outOfMemory(),
              std::vector<std::string>{
                  "conn_common/include/conn_common/Function2AOEvent:43 enqueFunction2AOF: Could not allocate memory"});
}

TEST(SafeCallbackProxy, DestructionWaitsForARunningFunctorAndStopsLaterOnesAndCopies)
{
    for (int round = 0; round < 50; ++round) {
        std::optional<SafeCallbackProxy> proxy{std::in_place};
        auto owned = std::make_unique<int>(0);
        std::atomic<bool> begun{false};
        auto functor = proxy->wrap([&] {
            begun = true;
            std::this_thread::yield();
            ++*owned;
        });
        std::thread caller{[copy = functor]() mutable {
            for (int call = 0; call < 50; ++call) {
                copy();
            }
        }};
        while (!begun) {
        }
        proxy.reset();
        owned.reset();
        functor();
        caller.join();
    }
}

} // namespace
