#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>

#include "CapturedLog.h"
#include "FailingAllocation.h"
#include "RecordedErrors.h"
#include "TestActiveObject.h"
#include "conn_common/EasyCallAO.h"
#include "conn_common/Function2AOEvent.h"
#include "conn_common/SafeCallbackProxy.h"

namespace {

using common_::SafeCallbackProxy;
using test_support::TestActiveObject;

TEST(Function2AO, RunsOnceOnTheActiveObjectAndIsReleased)
{
    const TestActiveObject ao;
    const auto activeObject = ao.factory()->getActiveObject({});
    const auto calls = std::make_shared<int>(0);
    common_::enqueFunction2AOF(ao.factory(), [calls, activeObject] { *calls += activeObject.isCurrent() ? 1 : 100; });
    ao.drain();
    EXPECT_EQ(*calls, 1);
    EXPECT_EQ(calls.use_count(), 1);
}

TEST(Function2AO, EndedActiveObjectReleasesTheCallable)
{
    const TestActiveObject ao;
    ao.stop();
    const auto calls = std::make_shared<int>(0);
    common_::enqueFunction2AOF(ao.factory(), [calls] { ++*calls; });
    EXPECT_EQ(*calls, 0);
    EXPECT_EQ(calls.use_count(), 1);
}

TEST(Function2AO, AllocationIsTriedAgainUntilThereIsMemory)
{
    const test_support::RecordedErrors errors;
    const TestActiveObject ao;
    auto payload = std::make_unique<int>(5);
    int received = 0;
    {
        using test_support::FailingAllocation;
        const FailingAllocation failing{FailingAllocation::Kind::nonThrowing, 3};
        common_::enqueFunction2AOF(ao.factory(), [payload = std::move(payload), &received] { received = *payload; });
    }
    ao.drain();
    EXPECT_EQ(received, 5);
    const auto calls = errors.outOfMemory();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_STREQ(calls[0].place.file, "conn_common/include/conn_common/Function2AOEvent");
    EXPECT_EQ(calls[0].place.line, 43);
    EXPECT_STREQ(calls[0].place.function, "enqueFunction2AOF");
    EXPECT_STREQ(calls[0].message, "Could not allocate memory");
}

TEST(SafeCallbackProxy, FunctorsAndTheirCopiesDoNothingAfterTheOwner)
{
    int calls = 0;
    std::function<void()> functor;
    {
        SafeCallbackProxy proxy;
        functor = proxy.wrap([&calls] { ++calls; });
        functor();
        const auto copy = functor;
        proxy.ownerDestroyed();
        copy();
    }
    functor();
    EXPECT_EQ(calls, 1);
}

TEST(SafeCallbackProxy, CallableThatThrowsLeavesTheGuardFree)
{
    SafeCallbackProxy proxy;
    auto functor = proxy.wrap([] { throw std::runtime_error{"expected"}; });
    EXPECT_THROW(functor(), std::runtime_error);
    EXPECT_THROW(functor(), std::runtime_error);
    proxy.ownerDestroyed();
    EXPECT_NO_THROW(functor());
}

TEST(SafeCallbackProxy, DestructionWaitsForARunningFunctorAndStopsLaterOnes)
{
    struct Owner
    {
        ~Owner()
        {
            proxy.ownerDestroyed();
            value.reset();
        }
        SafeCallbackProxy proxy;
        std::unique_ptr<int> value = std::make_unique<int>(0);
    };
    for (int round = 0; round < 50; ++round) {
        auto owner = std::make_unique<Owner>();
        std::atomic<bool> begun{false};
        std::thread caller{[functor = owner->proxy.wrap([&begun, raw = owner.get()] {
            begun = true;
            std::this_thread::yield();
            ++*raw->value;
        })]() mutable {
            for (int call = 0; call < 50; ++call) {
                functor();
            }
        }};
        while (!begun) {
        }
        owner.reset();
        caller.join();
    }
}

struct Poster : common_::EasyCallAO
{
    using EasyCallAO::EasyCallAO;
};

TEST(EasyCallAO, CallsTheFunctionAndSkipsAnEmptyOne)
{
    const test_support::CapturedLog log;
    const TestActiveObject ao;
    const auto activeObject = ao.factory()->getActiveObject({});
    Poster poster{ao.factory()};
    bool onActiveObject = false;
    poster.post({});
    poster.post([&] { onActiveObject = activeObject.isCurrent(); });
    ao.drain();
    EXPECT_TRUE(onActiveObject);
    EXPECT_TRUE(log.lines().empty());
}

TEST(EasyCallAO, DestroyedOwnerIsNotCalled)
{
    const TestActiveObject ao;
    int calls = 0;
    ao.run([&] {
        Poster poster{ao.factory()};
        poster.post([&calls] { ++calls; });
    });
    ao.drain();
    EXPECT_EQ(calls, 0);
}

} // namespace
