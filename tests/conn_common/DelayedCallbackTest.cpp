#include <gtest/gtest.h>

#include <array>
#include <future>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "CapturedLog.h"
#include "FailingAllocation.h"
#include "RecordedErrors.h"
#include "TestActiveObject.h"
#include "conn_common/DelayedCallback.h"

namespace {

using common_::DelayedCallback;
using common_::DelayedCallbackBase;
using test_support::FailingAllocation;
using test_support::RecordedErrors;
using test_support::TestActiveObject;
using Owned = std::vector<std::unique_ptr<std::shared_ptr<int>>>;

constexpr auto kSource = "conn_common/include/conn_common/DelayedCallback";

Owned owning(const std::shared_ptr<int>& value)
{
    Owned owned;
    owned.push_back(std::make_unique<std::shared_ptr<int>>(value));
    return owned;
}

TEST(DelayedCallback, CallsOfSeveralThreadsRunOnTheActiveObjectInTheOrderOfEachThread)
{
    constexpr int kThreads = 3;
    constexpr int kCalls = 3000;
    struct Owner
    {
        void take(const std::pair<int, int>& call)
        {
            onActiveObject = onActiveObject && activeObject.isCurrent();
            inOrder = inOrder && call.second == next.at(static_cast<std::size_t>(call.first))++;
        }
        comm::ActiveObject activeObject;
        std::array<int, kThreads> next{};
        bool onActiveObject = true;
        bool inOrder = true;
    };
    const TestActiveObject ao;
    Owner owner{ao.factory()->getActiveObject({})};
    DelayedCallback<Owner, std::pair<int, int>> callback{&owner, &Owner::take, ao.factory()};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&callback, thread] {
            for (int call = 0; call < kCalls; ++call) {
                callback.schedule({thread, call});
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    ao.run([&] {
        EXPECT_TRUE(owner.onActiveObject);
        EXPECT_TRUE(owner.inOrder);
        EXPECT_EQ(owner.next, (std::array{kCalls, kCalls, kCalls}));
    });
}

TEST(DelayedCallback, ArgumentTravelsWithoutCopyAndIsReleasedAfterTheCall)
{
    struct Owner
    {
        void takeOwned(Owned owned) { value = **owned.front(); }
        void takeConst(const std::vector<int> received) { address = received.data(); }
        int value = 0;
        const int* address = nullptr;
    } owner;
    const TestActiveObject ao;
    const auto value = std::make_shared<int>(42);
    DelayedCallback<Owner, Owned> callback{&owner, &Owner::takeOwned, ao.factory()};
    callback.schedule(owning(value));
    std::vector<int> sent{1, 2, 3};
    const auto* const address = sent.data();
    DelayedCallback<Owner, const std::vector<int>> constCallback{&owner, &Owner::takeConst, ao.factory()};
    constCallback.schedule(std::move(sent));
    ao.drain();
    EXPECT_EQ(owner.value, 42);
    EXPECT_EQ(value.use_count(), 1);
    EXPECT_EQ(owner.address, address);
}

TEST(DelayedCallback, DestructionCancelsWhatIsQueuedAndItsArgumentsAreReleased)
{
    const TestActiveObject ao;
    const auto value = std::make_shared<int>(0);
    int calls = 0;
    ao.run([&] {
        DelayedCallbackBase<Owned> callback{ao.factory(), [&calls](const Owned&) { ++calls; }};
        callback.schedule(owning(value));
        callback.schedule(owning(value));
    });
    ao.drain();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(value.use_count(), 1);
}

TEST(DelayedCallback, EventsThatEndedBeforeTheCallbackAreForgotten)
{
    const auto value = std::make_shared<int>(0);
    const TestActiveObject ao;
    DelayedCallbackBase<Owned> callback{ao.factory(), [](const Owned&) {}};
    callback.schedule(owning(value));
    ao.drain();
    ao.run([&] {
        callback.schedule(owning(value));
        ao.stop(); // the event is cancelled, not run
    });
    while (value.use_count() > 1) {
        std::this_thread::yield();
    }
    callback.schedule(owning(value)); // an active object that has ended
    EXPECT_EQ(value.use_count(), 1);
}

TEST(DelayedCallback, TargetMaySchedule)
{
    const TestActiveObject ao;
    std::promise<void> reached;
    std::unique_ptr<DelayedCallbackBase<int>> callback;
    ao.run([&] {
        callback = std::make_unique<DelayedCallbackBase<int>>(
            ao.factory(), [&](int left) { left == 0 ? reached.set_value() : callback->schedule(left - 1); });
        callback->schedule(3);
    });
    EXPECT_EQ(reached.get_future().wait_for(std::chrono::seconds{5}), std::future_status::ready);
    ao.run([&] { callback.reset(); });
}

TEST(DelayedCallback, EmptyTargetIsReportedByTheLoopWhichGoesOn)
{
    const test_support::CapturedLog log;
    const TestActiveObject ao;
    DelayedCallbackBase<void*> callback{ao.factory(), nullptr};
    callback.schedule(nullptr);
    ao.drain();
    EXPECT_EQ(log.count("CON_COMM", tracing::Level::resource, "bad_function_call"), 1U);
}

TEST(DelayedCallback, MissingActiveObjectIsFatal)
{
    struct EmptyFactory : comm::IActiveObjectFactory
    {
        comm::ActiveObject getActiveObject(const ipl::UUID&) override { return {}; }
        bool valid() const override { return false; }
    };
    const RecordedErrors errors;
    DelayedCallbackBase<bool> callback{std::make_shared<EmptyFactory>(), [](bool) {}};
    try {
        callback.schedule(true);
        FAIL() << "no assertion";
    } catch (const test_support::FatalAssertion& fatal) {
        EXPECT_EQ(fatal.expression, "ao.valid()");
        EXPECT_STREQ(fatal.place.file, kSource);
        EXPECT_EQ(fatal.place.line, 94);
        EXPECT_STREQ(fatal.place.function, "schedule");
    }
}

TEST(DelayedCallback, AllocationIsTriedAgainUntilThereIsMemory)
{
    const RecordedErrors errors;
    const TestActiveObject ao;
    int received = 0;
    DelayedCallbackBase<int> callback{ao.factory(), [&received](int value) { received = value; }};
    {
        const FailingAllocation failing{FailingAllocation::Kind::nonThrowing, 2};
        callback.schedule(7);
    }
    ao.drain();
    EXPECT_EQ(received, 7);
    const auto calls = errors.outOfMemory();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_STREQ(calls[1].place.file, kSource);
    EXPECT_EQ(calls[1].place.line, 100);
    EXPECT_STREQ(calls[1].place.function, "schedule");
    EXPECT_STREQ(calls[1].message, "Couldn't allocate ActiveObjectEvent for delayed callback");
}

TEST(DelayedCallback, EventThatCannotBeQueuedIsReleasedAndForgotten)
{
    const TestActiveObject ao;
    const auto value = std::make_shared<int>(0);
    int calls = 0;
    for (const unsigned after : {0U, 1U}) { // the pending list, the event's shared reference
        DelayedCallbackBase<std::shared_ptr<int>> callback{ao.factory(), [&calls](const auto&) { ++calls; }};
        {
            const FailingAllocation failing{FailingAllocation::Kind::throwing, 1, after};
            EXPECT_THROW(callback.schedule(value), std::bad_alloc);
        }
        EXPECT_EQ(value.use_count(), 1);
    }
    ao.drain();
    EXPECT_EQ(calls, 0);
}

} // namespace
