#include "io_manager/CFdManager.h"

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <sys/eventfd.h>
#include <thread>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "io_manager/util/IoManRunner.h"

using namespace std::chrono_literals;
using namespace io_manager;

namespace {

class CFdManagerTest : public ::testing::Test
{
protected:
    void watch(const UniqueFd& descriptor, std::function<void()> callback)
    {
        EXPECT_TRUE(manager->addFileDescriptor(descriptor.get(), std::move(callback), error));
    }

    test_support::CapturedLog log;
    const std::shared_ptr<CFdManager> manager = std::make_shared<CFdManager>();
    EFdError error = fdSuccess;
    /// Readable until they are read.
    const UniqueFd first{::eventfd(1, EFD_NONBLOCK)};
    const UniqueFd second{::eventfd(1, EFD_NONBLOCK)};
    const UniqueFd quiet{::eventfd(0, EFD_NONBLOCK)};
};

TEST_F(CFdManagerTest, QuietPassTimesOutAndReadyDescriptorsAreServedInOrderByTheirFirstCallback)
{
    std::string calls;
    watch(quiet, [&] { calls += '-'; });
    manager->setTimeoutHandler([&] { calls += 't'; });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(manager->wait(error, 50));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
    watch(second, [&] { calls += '1'; });
    watch(first, [&] { calls += '2'; });
    watch(second, [&] { calls += '3'; });
    EXPECT_TRUE(manager->wait(error, 0));
    EXPECT_EQ(calls, "t12");
}

TEST_F(CFdManagerTest, NestedWaitIsRefusedAndTheOuterPassGoesOn)
{
    bool served = false;
    watch(first, [&] {
        EXPECT_FALSE(manager->wait(error, 0));
        EXPECT_EQ(error, 17U);
    });
    watch(second, [&] { served = true; });
    EXPECT_TRUE(manager->wait(error, 0));
    EXPECT_TRUE(served);
}

TEST_F(CFdManagerTest, WhatACallbackRemovesIsNotServedAndANumberThatComesBackWaitsForTheNextPass)
{
    std::string calls;
    watch(first, [&] {
        calls += '1';
        manager->removeFileDescriptor(first.get());
        manager->removeFileDescriptor(second.get());
        watch(second, [&] { calls += '2'; });
    });
    watch(second, [&] { calls += '-'; });
    EXPECT_TRUE(manager->wait(error, 0));
    EXPECT_EQ(calls, "1");
    EXPECT_TRUE(manager->wait(error, 0));
    EXPECT_EQ(calls, "12");
}

TEST_F(CFdManagerTest, RemovalWaitsForTheCallbackThatRuns)
{
    std::promise<void> entered;
    std::atomic<bool> left{false};
    watch(first, [&] {
        entered.set_value();
        std::this_thread::sleep_for(50ms);
        left = true;
    });
    std::thread waiter{[&] { manager->wait(error, -1); }};
    entered.get_future().wait();
    manager->removeFileDescriptor(first.get());
    EXPECT_TRUE(left);
    waiter.join();
}

using IoManRunnerTest = CFdManagerTest;

TEST_F(IoManRunnerTest, EndsAtOnceAlthoughItsPassWaitsForLong)
{
    auto runner = std::make_unique<IoManRunner>(manager, 60000);
    ASSERT_TRUE(log.waitFor("entered"));
    const auto start = std::chrono::steady_clock::now();
    runner.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
}

} // namespace
