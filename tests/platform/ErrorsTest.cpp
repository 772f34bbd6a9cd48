#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"

namespace {

using ipl::ErrorStorage;
using ipl::GlobalErrorHandler;

TEST(ErrorStorage, KeepsTheThreadsOwnReasonUntilItIsAcknowledged)
{
    ErrorStorage::set(7, "no %s for %d", std::string(1000, 'x').c_str(), 3);
    std::thread{[] {
        EXPECT_FALSE(ErrorStorage::pending());
        ErrorStorage::set(8, "its own");
    }}.join();
    EXPECT_EQ(ErrorStorage::code(), 7U);
    EXPECT_EQ(ErrorStorage::reason(), "no " + std::string(252, 'x'));
    ErrorStorage::ack();
    EXPECT_FALSE(ErrorStorage::pending());
    EXPECT_EQ(ErrorStorage::code(), 0U);
    EXPECT_STREQ(ErrorStorage::reason(), "no error");
}

TEST(GlobalErrorHandlerDeathTest, FatalErrorsEndTheProcessEvenWhenTheHandlerReturns)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const testing::KilledBySignal aborted{SIGABRT};
    EXPECT_EXIT(GlobalErrorHandler::doFatalAssert("x != 0", "a/b", 12, "make", "broken"), aborted,
                "fatal: a/b:12 make: \\(x != 0\\) broken");
    const auto ignore = [](const auto&, const char*, const char*) {};
    EXPECT_EXIT((GlobalErrorHandler::setFatalHandler(ignore), GlobalErrorHandler::doFatalError("", 1, "", "")), aborted,
                "");
}

} // namespace
