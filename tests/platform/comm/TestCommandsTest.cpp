#include <gmock/gmock.h>

#include "Accounts.h"
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

TEST(TestCommands, CommandsAreListedAndTriggeredByTheirOwnUserOnceOffered)
{
    const TestBus bus;
    const TestActiveObject activeObject;
    int runs = 0;
    tracing::CallbackDispatcher dispatcher{"Door"};
    dispatcher.add("open", [&runs] { ++runs; });
    EXPECT_THAT(outputOf(call({"list"})), HasSubstr("failed")) << "not offered yet";

    const comm::TestCommands commands{activeObject.factory()};
    EXPECT_EQ(outputOf(call({"list"})), "a(sas) 1 \"Door\" 1 \"open\"\n");
    auto words = call({"trigger", "ss", "Door", "open"});
    EXPECT_EQ(outputOf(words), "b true\n");
    EXPECT_THAT(outputOf(call({"trigger", "ss", "Door", "slam"})), HasSubstr("there are: Door open"));
    if (canChangeAccount()) {
        words.insert(words.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
        EXPECT_THAT(outputOf(words), HasSubstr("Access denied"));
    }
    activeObject.run([&] { EXPECT_EQ(runs, 1); });
}

} // namespace
