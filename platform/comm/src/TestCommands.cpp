#include "comm/TestCommands.h"

#include <unistd.h>

#include "tracing/CallbackDispatcher.h"
#include "tracing/Channel.h"

namespace comm {
namespace {

tracing::Channel s_channel{"CON_COMM", 7, 2};

std::string everyCommand()
{
    std::string text;
    for (const auto& one : tracing::CallbackDispatcher::list()) {
        for (const auto& command : one.commands) {
            text += (text.empty() ? "" : ", ") + one.className + " " + command;
        }
    }
    return text;
}

} // namespace

TestCommands::TestCommands(const FactoryPtr& factory) : m_factory{factory}
{
    if (registerInstance(1, factory)) {
        TRACE(s_channel, error, "comm::TestCommands", "test commands are not offered: %s", ipl::ErrorStorage::reason());
        ipl::ErrorStorage::ack();
        return;
    }
    TRACE(s_channel, warning, "comm::TestCommands", "test commands are offered to root and user %u", geteuid());
}

TestCommands::~TestCommands()
{
    unregisterInstance();
}

void TestCommands::run(const std::string& command) const
{
    runAndWait(m_factory->getActiveObject({}), [&command, operation = __func__] {
        if (!tracing::CallbackDispatcher::trigger(command)) {
            TRACE_AT(s_channel, warning, "comm::TestCommands", operation, __LINE__,
                     "no test command \"%s\"; there are: %s", command.c_str(), everyCommand().c_str());
        }
    });
}

bool TestCommands::admits(std::optional<std::uint32_t> user) const
{
    return user == 0U || user == geteuid();
}

Result<std::vector<ClassCommands>> TestCommands::list()
{
    Result<std::vector<ClassCommands>> all;
    for (auto& one : tracing::CallbackDispatcher::list()) {
        all.value.push_back({std::move(one.className), std::move(one.commands)});
    }
    return all;
}

Result<bool> TestCommands::trigger(const std::string& className, const std::string& command)
{
    if (tracing::CallbackDispatcher::trigger(className, command)) {
        return {true, {}};
    }
    return {false, "no command " + className + " " + command + "; there are: " + everyCommand()};
}

} // namespace comm
