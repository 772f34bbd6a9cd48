#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <pthread.h>
#include <string>
#include <thread>

#include "ipl/ErrorStorage.h"
#include "util/Thread.h"

namespace {

TEST(Thread, RunsItsFunctionOnceUnderItsName)
{
    std::atomic<bool> named{false};
    int runs = 0;
    std::array<char, 16> name{};
    util::Thread thread{"ANameOfTooManyCharacters", [&] {
                            ++runs;
                            named.wait(false);
                            pthread_getname_np(pthread_self(), name.data(), name.size());
                        }};
    EXPECT_FALSE(thread.join()); // not started yet
    EXPECT_EQ(runs, 0);
    EXPECT_FALSE(thread.start());
    named = true;
    named.notify_one();
    EXPECT_FALSE(thread.join());
    EXPECT_FALSE(thread.join());
    EXPECT_EQ(runs, 1);
    EXPECT_STREQ(name.data(), "ANameOfTooManyC");
}

TEST(Thread, DestructionAsksForTheStopAndWaits)
{
    bool ended = false;
    {
        util::Thread* self = nullptr;
        util::Thread thread{"Waiting", [&] {
                                while (!self->stopRequested()) {
                                    std::this_thread::sleep_for(std::chrono::milliseconds{1});
                                }
                                ended = true;
                            }};
        self = &thread;
        EXPECT_FALSE(thread.start());
    }
    EXPECT_TRUE(ended);
}

TEST(Thread, SecondStartAndJoinOfItselfAreErrors)
{
    bool refused = false;
    std::atomic<bool> started{false};
    util::Thread* self = nullptr;
    util::Thread thread{"Selfish", [&] {
                            started.wait(false);
                            refused = self->join();
                            ipl::ErrorStorage::ack();
                        }};
    self = &thread;
    EXPECT_FALSE(thread.start());
    EXPECT_TRUE(thread.start());
    started = true;
    started.notify_one();
    EXPECT_STREQ(ipl::ErrorStorage::reason(), "thread Selfish is started already");
    ipl::ErrorStorage::ack();
    EXPECT_FALSE(thread.join());
    EXPECT_TRUE(refused);
}

} // namespace
