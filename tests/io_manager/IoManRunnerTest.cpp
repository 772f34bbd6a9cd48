#include "io_manager/util/IoManRunner.h"

#include <chrono>
#include <future>
#include <sys/eventfd.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "CapturedLog.h"

using namespace std::chrono_literals;
using namespace io_manager;
using test_support::CapturedLog;
using tracing::Level;

namespace {

constexpr auto kChannel = "CON_LIB_IOMRUN";

class IoManRunnerTest : public ::testing::Test
{
protected:
    CapturedLog log;
    std::shared_ptr<CFdManager> manager = std::make_shared<CFdManager>();
    EFdError error = fdSuccess;
};

TEST_F(IoManRunnerTest, EndsAtOnceAlthoughItsPassWaitsForLong)
{
    const auto start = std::chrono::steady_clock::now();
    {
        IoManRunner runner{manager, 60000};
        ASSERT_TRUE(log.waitFor("entered"));
        runner.stopThread();
        EXPECT_EQ(log.count(kChannel, Level::milestone, "my watch has ended"), 1U);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
    EXPECT_EQ(log.count(kChannel, Level::progress, "Requesting stop of IoManRunner thread."), 2U);
}

TEST_F(IoManRunnerTest, DescriptorAddedToAWaitingRunnerIsServedAtOnce)
{
    const UniqueFd event{::eventfd(1, EFD_NONBLOCK)};
    std::promise<void> served;
    IoManRunner runner{manager, 60000};
    ASSERT_TRUE(log.waitFor("entered"));
    runner.addFileDescriptor(
        event.get(),
        [&] {
            eventfd_t value = 0;
            if (::eventfd_read(event.get(), &value) == 0) {
                served.set_value();
            }
        },
        error);
    EXPECT_EQ(served.get_future().wait_for(2s), std::future_status::ready);
    runner.removeFileDescriptor(event.get());
}

TEST_F(IoManRunnerTest, StopFromItsOwnCallbackIsReportedAndStopsAllTheSame)
{
    const UniqueFd event{::eventfd(1, EFD_NONBLOCK)};
    IoManRunner runner{manager, 60000};
    runner.addFileDescriptor(
        event.get(), [&] { runner.stopThread(); }, error);
    EXPECT_TRUE(log.waitFor("Join of IoManRunner thread failed!"));
    EXPECT_TRUE(log.waitFor("my watch has ended"));
}

TEST_F(IoManRunnerTest, LoopEndsWhenThereIsNothingToWatch)
{
    const UniqueFd event{::eventfd(1, EFD_NONBLOCK)};
    IoManRunner runner{manager, 60000};
    std::vector<std::int32_t> watched;
    static_cast<IWatchListener&>(*manager).collectDescriptors(watched);
    ASSERT_EQ(watched.size(), 1U);
    runner.removeFileDescriptor(watched[0]);
    EXPECT_TRUE(log.waitFor("fd watch broken (18)"));
    EXPECT_TRUE(log.waitFor("my watch has ended"));
}

TEST_F(IoManRunnerTest, WithoutKickDescriptorNothingRunsAndNothingHangs)
{
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    rlimit none = before;
    none.rlim_cur = 3;
    ::setrlimit(RLIMIT_NOFILE, &none);
    {
        IoManRunner runner{manager, -1};
        ::setrlimit(RLIMIT_NOFILE, &before);
        runner.kick();
    }
    EXPECT_EQ(log.count(kChannel, Level::resource, "eventfd: (Too many open files)"), 1U);
    EXPECT_EQ(log.count(kChannel, Level::detail, "entered"), 0U);
}

} // namespace
