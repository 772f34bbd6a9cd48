#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tracing {

/// The test commands of one class: named functions through which a tester injects input that the real world gives only
/// now and then. Registering them costs a few bytes; they can be reached from outside the process only when the process
/// was started for testing.
///
/// Commands are added, triggered and removed on the active object that owns the class, so a command never meets its
/// object half destroyed.
class CallbackDispatcher
{
public:
    using Command = std::function<void()>;

    /// Makes the commands of a class known until the dispatcher is destroyed. When several objects of the class live at
    /// the same time, the one made last is reached.
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

    /// All classes of the process with their commands, in the order in which they were made known.
    static std::vector<ClassCommands> list();

    /// Runs a command on the calling thread. Returns false when there is no such class or command.
    static bool trigger(std::string_view className, std::string_view command);

    /// The same for who does not know the class: runs the command of that name that was made known last.
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
