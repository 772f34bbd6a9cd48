#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "comm/Service.h"

namespace comm {

/// The test commands of one class, as a record of the bus.
struct ClassCommands
{
    std::string className;
    std::vector<std::string> commands;

    static constexpr auto fields()
    {
        return std::tuple{field("className", &ClassCommands::className), field("commands", &ClassCommands::commands)};
    }
};

/// The test commands of a process that was started for testing.
class ITestCommands
{
public:
    virtual ~ITestCommands() = default;
    virtual Result<std::vector<ClassCommands>> list() = 0;
    virtual Result<bool> trigger(const std::string& className, const std::string& command) = 0;
};

class ITestCommandsReply
{
public:
    virtual ~ITestCommandsReply() = default;
};

struct TestCommandsDescription
{
    static constexpr std::string_view name = "tracing.TestCommands";
    using Requests = ITestCommands;
    using Reply = ITestCommandsReply;
    static constexpr auto requests = std::tuple{method<&ITestCommands::list>(1, "list"),
                                                method<&ITestCommands::trigger>(2, "trigger", "className", "command")};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes = std::tuple{};
};

/// Provides the commands of tracing::CallbackDispatcher on the bus as service "tracing.TestCommands", instance 1, to
/// root and to the user of the process. Commands run on the given active object. The refusal of an unknown class or
/// command lists the known ones.
class TestCommands final : private Service<TestCommandsDescription>
{
public:
    explicit TestCommands(const FactoryPtr& factory);
    ~TestCommands() override;

    /// For callers without the bus: runs the command in the class that registered it last, and waits for it. An unknown
    /// name is logged. May be called from any thread.
    void run(const std::string& command) const;

private:
    bool asksForUser() const override { return true; }
    bool admits(std::optional<std::uint32_t> user) const override;
    Result<std::vector<ClassCommands>> list() override;
    Result<bool> trigger(const std::string& className, const std::string& command) override;

    const FactoryPtr m_factory;
};

} // namespace comm
