#include <gmock/gmock.h>
#include <unistd.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "comm/TestCommands.h"
#include "tracing/CallbackDispatcher.h"

namespace {

using namespace test_support;
using testing::HasSubstr;

std::vector<std::string> call(std::vector<std::string> words)
{
    words.insert(words.begin(), {"busctl", "--system", "call", "tracing.TestCommands.instance1",
                                 "/tracing/TestCommands/1", "tracing.TestCommands"});
    return words;
}

struct TestCommandsTest : testing::Test
{
    CapturedLog log;
    TestBus bus;
    TestActiveObject activeObject;
    int runs = 0;
    tracing::CallbackDispatcher dispatcher{"Door"};

    TestCommandsTest()
    {
        dispatcher.add("open", [this] { ++runs; });
        dispatcher.add("close", [] {});
    }
};

TEST_F(TestCommandsTest, CommandsAreListedAndTriggeredFromOutside)
{
    const comm::TestCommands commands{activeObject.factory()};
    EXPECT_EQ(outputOf(call({"list"})), "a(sas) 1 \"Door\" 2 \"open\" \"close\"\n");
    EXPECT_EQ(outputOf(call({"trigger", "ss", "Door", "open"})), "b true\n");
    activeObject.run([this] { EXPECT_EQ(runs, 1); });
}

TEST_F(TestCommandsTest, AnUnknownCommandIsAnsweredWithThoseThereAre)
{
    const comm::TestCommands commands{activeObject.factory()};
    for (const auto* const words : {"Door", "Window"}) {
        EXPECT_THAT(outputOf(call({"trigger", "ss", words, "slam"})), HasSubstr("there are: Door open, Door close"));
    }
}

TEST_F(TestCommandsTest, AnotherUserIsRefused)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    const comm::TestCommands commands{activeObject.factory()};
    auto words = call({"trigger", "ss", "Door", "open"});
    words.insert(words.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    EXPECT_THAT(outputOf(words), HasSubstr("Access denied"));
    EXPECT_EQ(runs, 0);
}

TEST_F(TestCommandsTest, NothingIsReachableUnlessOffered)
{
    EXPECT_THAT(outputOf(call({"list"})), HasSubstr("failed"));
}

} // namespace
