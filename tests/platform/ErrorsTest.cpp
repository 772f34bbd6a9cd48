#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"

namespace {

using ipl::ErrorStorage;
using ipl::GlobalErrorHandler;

TEST(ErrorStorage, KeepsTheReasonUntilItIsAcknowledged)
{
    ErrorStorage::set(7, "no %s for %d", "room", 3);
    EXPECT_TRUE(ErrorStorage::pending());
    EXPECT_EQ(ErrorStorage::code(), 7U);
    EXPECT_STREQ(ErrorStorage::reason(), "no room for 3");
    ErrorStorage::ack();
    EXPECT_FALSE(ErrorStorage::pending());
    EXPECT_EQ(ErrorStorage::code(), 0U);
    EXPECT_STREQ(ErrorStorage::reason(), "no error");
}

TEST(ErrorStorage, LongReasonIsCut)
{
    ErrorStorage::set(1, "%s", std::string(1000, 'x').c_str());
    EXPECT_EQ(ErrorStorage::reason(), std::string(255, 'x'));
    ErrorStorage::ack();
}

TEST(ErrorStorage, ErrorsOfThreadsAreTheirOwn)
{
    ErrorStorage::set(7, "mine");
    std::thread{[] {
        EXPECT_FALSE(ErrorStorage::pending());
        ErrorStorage::set(8, "its own");
    }}.join();
    EXPECT_EQ(ErrorStorage::code(), 7U);
    ErrorStorage::ack();
}

TEST(ErrorStorage, ErrorReplacedBeforeAcknowledgementIsHandedToTheAction)
{
    static std::string seen;
    seen.clear();
    {
        const ErrorStorage storage{
            [](std::uint32_t code, const char* reason) { seen += std::to_string(code) + reason; }};
        ErrorStorage::set(1, "first");
        ErrorStorage::set(2, "second");
        ErrorStorage::ack();
        ErrorStorage::set(3, "third");
    }
    ErrorStorage::set(4, "fourth");
    ErrorStorage::ack();
    EXPECT_EQ(seen, "1first");
}

TEST(ErrorStorage, ProvidedActionWritesALineToStandardOutput)
{
    testing::internal::CaptureStdout();
    ErrorStorage::action_dump_to_stdout(5, "lost");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "unacknowledged platform error 5: lost\n");
}

TEST(GlobalErrorHandler, OutOfMemoryIsReportedAndPausesByDefault)
{
    testing::internal::CaptureStderr();
    const auto begin = std::chrono::steady_clock::now();
    GlobalErrorHandler::doOutOfMem("a/b", 12, "make", "no room");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds{10});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "out of memory: a/b:12 make: no room\n");
}

TEST(GlobalErrorHandlerDeathTest, FatalErrorsEndTheProcessWithTheirPlace)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(GlobalErrorHandler::doFatalAssert("x != 0", "a/b", 12, "make", "broken"),
                testing::KilledBySignal(SIGABRT), "fatal: a/b:12 make: \\(x != 0\\) broken");
    EXPECT_EXIT(GlobalErrorHandler::doFatalError("a/b", 12, "make", "broken"), testing::KilledBySignal(SIGABRT),
                "fatal: a/b:12 make: \\(\\) broken");
}

TEST(GlobalErrorHandlerDeathTest, HandlerThatReturnsFromAFatalErrorStillEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            GlobalErrorHandler::setFatalHandler([](const auto&, const char*, const char*) {});
            GlobalErrorHandler::doFatalError("a/b", 12, "make", "broken");
        },
        testing::KilledBySignal(SIGABRT), "");
}

TEST(GlobalErrorHandler, NullRestoresTheDefaultHandlers)
{
    const auto outOfMem = GlobalErrorHandler::setOutOfMemHandler([](const auto&, const char*) {});
    GlobalErrorHandler::setOutOfMemHandler(nullptr);
    EXPECT_EQ(GlobalErrorHandler::setOutOfMemHandler(nullptr), outOfMem);
}

} // namespace
