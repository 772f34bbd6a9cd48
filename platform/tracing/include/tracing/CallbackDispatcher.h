#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tracing {

/// The test commands of one class: named functions that inject input which rarely occurs in operation. They can be
/// called from outside the process only if it was started for testing.
///
/// Commands are added, triggered and removed on the active object that owns the class, so no command runs on a half
/// destroyed object.
class CallbackDispatcher
{
public:
    using Command = std::function<void()>;

    /// Registers the commands of a class until the dispatcher is destroyed. Of several objects of a class the one made
    /// last receives the commands.
    explicit CallbackDispatcher(std::string className);
    ~CallbackDispatcher();
    CallbackDispatcher(const CallbackDispatcher&) = delete;
    CallbackDispatcher& operator=(const CallbackDispatcher&) = delete;

    /// Adds a command; a second one of the same name replaces the first.
    void add(std::string name, Command command);

    struct ClassCommands
    {
        std::string className;
        std::vector<std::string> commands;
    };

    /// All classes of the process with their commands, in the order of registration.
    static std::vector<ClassCommands> list();

    /// Runs a command on the calling thread. Returns false when there is no such class or command.
    static bool trigger(std::string_view className, std::string_view command);

    /// As above without a class: runs the command of that name that was registered last.
    static bool trigger(std::string_view command);

private:
    struct Entry
    {
        std::string name;
        Command command;
    };

    const std::string m_className;
    std::vector<Entry> m_entries;
};

} // namespace tracing
