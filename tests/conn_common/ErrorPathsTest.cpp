#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "Eventually.h"
#include "FailingAllocation.h"
#include "RecordedErrors.h"
#include "TestActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/SynchronizedTimerFactory.h"
#include "conn_common/UniversalListenerAndSubject.h"

namespace {

using namespace test_support;

struct Owner
{
    virtual ~Owner() = default;
    void called(int) {}
};

struct NoActiveObject final : comm::IActiveObjectFactory
{
    comm::ActiveObject getActiveObject(const ipl::UUID&) override { return {}; }
    bool valid() const override { return false; }
};

template <typename Work>
std::string fatalPlace(Work work)
{
    try {
        work();
    } catch (const FatalAssertion& error) {
        return error.place + " " + error.expression + " " + error.message;
    }
    return "no assertion";
}

TEST(ErrorPaths, EventsAndTimersAreAllocatedAgainUntilThereIsMemory)
{
    const CapturedLog log;
    const RecordedErrors errors;
    const TestActiveObject ao;
    Owner owner;
    common_::DelayedCallback<Owner, int> callback{&owner, &Owner::called, ao.factory()};
    common_::SynchronizedTimerFactory timers{ao.factory()};
    constexpr unsigned kPartsOfATimer = 4; // handle, delayed callback, two nodes of the group
    {
        const FailingAllocation failing{FailingAllocation::Kind::throwing};
        callback.schedule(1);
    }
    std::vector<std::string> expected{"conn_common/include/conn_common/DelayedCallback:100 schedule: Couldn't "
                                      "allocate ActiveObjectEvent for delayed callback"};
    std::atomic<unsigned> called{0};
    std::array<common_::SynchronizedTimerFactory::TimerHandlePtr, kPartsOfATimer> handles;
    for (unsigned after = 0; after < kPartsOfATimer; ++after) {
        const FailingAllocation failing{FailingAllocation::Kind::throwing, 1, after};
        handles[after] = timers.createStartedTimer({}, [&called](void*) { ++called; });
        expected.emplace_back("conn_common/src/SynchronizedTimer:236 createTimer: Could not allocate memory");
    }
    EXPECT_EQ(errors.outOfMemory(), expected);
    EXPECT_TRUE(eventually([&] { return called == kPartsOfATimer; }));
    ao.drain();
}

TEST(ErrorPaths, AMissingActiveObjectAndANullListenerAreFatal)
{
    const RecordedErrors errors;
    Owner owner;
    common_::DelayedCallback<Owner, int> callback{&owner, &Owner::called, std::make_shared<NoActiveObject>()};
    EXPECT_EQ(fatalPlace([&] { callback.schedule(1); }),
              "conn_common/include/conn_common/DelayedCallback:94 schedule ao.valid() ");
    common_::SubjectBase<Owner> subject;
    subject.addListener(nullptr);
    EXPECT_EQ(fatalPlace([&] { subject.notify(&Owner::called, 1); }),
              "conn_common/include/conn_common/UniversalListenerAndSubject:93 operator() listener != nullptr Listener "
              "is a nullpointer!");
}

} // namespace
