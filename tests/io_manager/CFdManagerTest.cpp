#include "io_manager/CFdManager.h"

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "io_manager/UniqueFd.h"

using namespace std::chrono_literals;
using namespace io_manager;

namespace {

class Pipe
{
public:
    Pipe()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe(ends.data()), 0);
        reader = UniqueFd{ends[0]};
        writer = UniqueFd{ends[1]};
    }
    void fill() const { EXPECT_EQ(::write(writer.get(), "x", 1), 1); }
    void empty() const
    {
        char byte;
        EXPECT_EQ(::read(reader.get(), &byte, 1), 1);
    }

    UniqueFd reader;
    UniqueFd writer;
};

class CFdManagerTest : public ::testing::Test
{
protected:
    CFdManager manager;
    EFdError error = fdSuccess;
};

TEST_F(CFdManagerTest, WaitingOnNothingIsRefused)
{
    EXPECT_FALSE(manager.wait(error, 0));
    EXPECT_EQ(error, 18U);
    EXPECT_FALSE(manager.wait(error, 0)) << "the refused pass has to end";
    EXPECT_EQ(error, 18U);
}

TEST_F(CFdManagerTest, NegativeDescriptorIsRefused)
{
    EXPECT_FALSE(manager.addFileDescriptor(
        -1, [] {}, error));
    EXPECT_EQ(error, 15U);
}

TEST_F(CFdManagerTest, SecondAddKeepsTheFirstCallback)
{
    Pipe pipe;
    std::string calls;
    EXPECT_TRUE(manager.addFileDescriptor(
        pipe.reader.get(), [&] { calls += '1'; }, error));
    EXPECT_TRUE(manager.addFileDescriptor(
        pipe.reader.get(), [&] { calls += '2'; }, error));
    EXPECT_EQ(error, 0U);
    pipe.fill();
    EXPECT_TRUE(manager.wait(error, 0));
    EXPECT_EQ(calls, "1");
}

TEST_F(CFdManagerTest, ReadyDescriptorsAreServedInOrderOfRegistration)
{
    std::array<Pipe, 3> pipes;
    std::string calls;
    for (const int index : {2, 0, 1}) {
        manager.addFileDescriptor(
            pipes[static_cast<std::size_t>(index)].reader.get(),
            [&, index] { calls += static_cast<char>('0' + index); }, error);
    }
    pipes[0].fill();
    pipes[2].writer.reset(); // a hang-up is an event as well
    EXPECT_TRUE(manager.wait(error, 0));
    EXPECT_EQ(calls, "20");
}

TEST_F(CFdManagerTest, QuietPassEndsAfterItsTimeAndCallsTheTimeoutHandler)
{
    Pipe pipe;
    bool called = false;
    bool timedOut = false;
    manager.addFileDescriptor(
        pipe.reader.get(), [&] { called = true; }, error);
    manager.setTimeoutHandler([&] { timedOut = true; });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(manager.wait(error, 50));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
    EXPECT_TRUE(timedOut);
    EXPECT_FALSE(called);
}

TEST_F(CFdManagerTest, NestedWaitIsRefusedAndTheOuterPassGoesOn)
{
    Pipe pipe;
    EFdError nested = fdSuccess;
    bool result = true;
    manager.addFileDescriptor(
        pipe.reader.get(), [&] { result = manager.wait(nested, 0); }, error);
    pipe.fill();
    EXPECT_TRUE(manager.wait(error, 0));
    EXPECT_FALSE(result);
    EXPECT_EQ(nested, 17U);
    EXPECT_EQ(error, 0U);
}

TEST_F(CFdManagerTest, CallbackMayRemoveItselfAndTheNextOne)
{
    Pipe first;
    Pipe second;
    int calls = 0;
    manager.addFileDescriptor(
        first.reader.get(),
        [&] {
            ++calls;
            manager.removeFileDescriptor(first.reader.get());
            manager.removeFileDescriptor(second.reader.get());
        },
        error);
    manager.addFileDescriptor(
        second.reader.get(), [&] { ++calls; }, error);
    first.fill();
    second.fill();
    EXPECT_TRUE(manager.wait(error, 0));
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(manager.wait(error, 0));
    EXPECT_EQ(error, 18U);
}

TEST_F(CFdManagerTest, NumberThatCameBackDuringThePassIsNotServedForItsPredecessor)
{
    Pipe first;
    Pipe second;
    int served = 0;
    const auto number = second.reader.get();
    manager.addFileDescriptor(
        first.reader.get(),
        [&] {
            manager.removeFileDescriptor(number);
            manager.addFileDescriptor(
                number, [&] { ++served; }, error);
            first.empty();
        },
        error);
    manager.addFileDescriptor(
        number, [&] { FAIL() << "removed"; }, error);
    first.fill();
    second.fill();
    EXPECT_TRUE(manager.wait(error, 0));
    EXPECT_EQ(served, 0);
    EXPECT_TRUE(manager.wait(error, 0));
    EXPECT_EQ(served, 1);
}

TEST_F(CFdManagerTest, RemovalWaitsForTheCallbackThatRuns)
{
    Pipe pipe;
    std::promise<void> entered;
    std::atomic<bool> left{false};
    manager.addFileDescriptor(
        pipe.reader.get(),
        [&] {
            entered.set_value();
            std::this_thread::sleep_for(50ms);
            left = true;
        },
        error);
    pipe.fill();
    std::thread waiter{[&] {
        EFdError own;
        manager.wait(own, -1);
    }};
    entered.get_future().wait();
    manager.removeFileDescriptor(pipe.reader.get());
    EXPECT_TRUE(left);
    waiter.join();
}

} // namespace
