#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
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
#include "conn_common/SafeCallbackProxy.h"
#include "conn_common/SynchronizedTimerFactory.h"

namespace {

using common_::DelayedCallbackBase;
using common_::SafeCallbackProxy;
using test_support::FailingAllocation;
using test_support::TestActiveObject;

TEST(DelayedCallback, CallsOfSeveralThreadsRunOnTheActiveObjectInTheOrderOfEachThread)
{
    constexpr std::size_t kThreads = 3;
    constexpr int kCalls = 3000;
    using Call = std::pair<std::size_t, int>;
    const TestActiveObject ao;
    const auto activeObject = ao.factory()->getActiveObject({});
    std::array<int, kThreads> next{};
    bool inOrder = true;
    DelayedCallbackBase<Call> callback{ao.factory(), [&](const Call& call) {
                                           inOrder = inOrder && activeObject.isCurrent();
                                           inOrder = inOrder && call.second == next.at(call.first)++;
                                       }};
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&callback, thread] {
            for (int call = 0; call < kCalls; ++call) {
                callback.schedule({thread, call});
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    ao.drain();
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(next, (std::array{kCalls, kCalls, kCalls}));
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
    for (const unsigned after : {0U, 1U}) { // the pending list, the event's shared reference
        DelayedCallbackBase<Shared> fresh{ao.factory(), count};
        {
            const FailingAllocation failing{FailingAllocation::Kind::throwing, 1, after};
            EXPECT_THROW(fresh.schedule(calls), std::bad_alloc);
        }
        EXPECT_EQ(calls.use_count(), 1);
    }
    ao.run([&] {
        callback.schedule(calls);
        ao.stop(); // the event is cancelled
    });
    EXPECT_TRUE(test_support::eventually([&] { return calls.use_count() == 1; }));
    callback.schedule(calls); // an active object that has ended
    EXPECT_EQ(calls.use_count(), 1);
    EXPECT_EQ(*calls, 1);
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

TEST(Allocation, IsTriedAgainUntilThereIsMemory)
{
    constexpr auto kKind = FailingAllocation::Kind::nonThrowing;
    const test_support::RecordedErrors errors;
    const TestActiveObject ao;
    int received = 0;
    const auto receive = [&received](int value) { received += value; };
    DelayedCallbackBase<int> callback{ao.factory(), receive};
    ao.run([&] {
        common_::SynchronizedTimerFactory timers{ao.factory()};
        std::optional<FailingAllocation> failing{std::in_place, kKind, 2};
        callback.schedule(7);
        failing.emplace(kKind);
        common_::enqueFunction2AOF(ao.factory(), [receive] { receive(10); });
        failing.emplace(kKind);
        EXPECT_TRUE(timers.createTimer(std::chrono::hours{1}, [](void*) {}));
    });
    ao.drain();
    EXPECT_EQ(received, 17);
    const std::string delayed = "conn_common/include/conn_common/DelayedCallback:100 schedule: "
                                "Couldn't allocate ActiveObjectEvent for delayed callback";
    EXPECT_EQ(errors.outOfMemory(),
              (std::vector<std::string>{
                  delayed, delayed,
                  "conn_common/include/conn_common/Function2AOEvent:43 enqueFunction2AOF: Could not allocate memory",
                  "conn_common/src/SynchronizedTimer:236 createTimer: Could not allocate memory"}));
}

TEST(SafeCallbackProxy, CopiesDoNothingAfterTheOwnerEvenWhenOneThrew)
{
    std::function<void()> functor;
    {
        SafeCallbackProxy proxy;
        functor = proxy.wrap([] { throw std::runtime_error{"expected"}; });
        const auto copy = functor;
        EXPECT_THROW(functor(), std::runtime_error);
        EXPECT_THROW(copy(), std::runtime_error);
        proxy.ownerDestroyed();
        EXPECT_NO_THROW(copy());
    }
    EXPECT_NO_THROW(functor());
}

TEST(SafeCallbackProxy, DestructionWaitsForARunningFunctorAndStopsLaterOnes)
{
    for (int round = 0; round < 50; ++round) {
        SafeCallbackProxy proxy;
        auto owned = std::make_unique<int>(0);
        std::atomic<bool> begun{false};
        auto functor = proxy.wrap([&] {
            begun = true;
            std::this_thread::yield();
            ++*owned;
        });
        std::thread caller{[&functor] {
            for (int call = 0; call < 50; ++call) {
                functor();
            }
        }};
        while (!begun) {
        }
        proxy.ownerDestroyed();
        owned.reset();
        caller.join();
    }
}

} // namespace
