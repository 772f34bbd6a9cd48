#include "tracing/CallbackDispatcher.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace tracing {
namespace {

// Guards the list of dispatchers and their entries; not held while a command runs.
std::mutex& guard()
{
    static std::mutex mutex;
    return mutex;
}

std::vector<CallbackDispatcher*>& dispatchers()
{
    static std::vector<CallbackDispatcher*> all;
    return all;
}

} // namespace

CallbackDispatcher::CallbackDispatcher(std::string className) : m_className{std::move(className)}
{
    const std::lock_guard lock{guard()};
    dispatchers().push_back(this);
}

CallbackDispatcher::~CallbackDispatcher()
{
    const std::lock_guard lock{guard()};
    std::erase(dispatchers(), this);
}

void CallbackDispatcher::add(std::string name, Command command)
{
    const std::lock_guard lock{guard()};
    std::erase_if(m_entries, [&name](const Entry& entry) { return entry.name == name; });
    m_entries.push_back({std::move(name), std::move(command)});
}

std::vector<CallbackDispatcher::ClassCommands> CallbackDispatcher::list()
{
    const std::lock_guard lock{guard()};
    std::vector<ClassCommands> all;
    for (const auto* dispatcher : dispatchers()) {
        auto& one = all.emplace_back(ClassCommands{dispatcher->m_className, {}});
        for (const auto& entry : dispatcher->m_entries) {
            one.commands.push_back(entry.name);
        }
    }
    return all;
}

bool CallbackDispatcher::trigger(std::string_view className, std::string_view command)
{
    std::unique_lock lock{guard()};
    const auto& all = dispatchers();
    const auto dispatcher =
        std::find_if(all.rbegin(), all.rend(), [className](const auto* one) { return one->m_className == className; });
    if (dispatcher == all.rend()) {
        return false;
    }
    const auto& entries = (*dispatcher)->m_entries;
    const auto entry =
        std::find_if(entries.begin(), entries.end(), [command](const Entry& one) { return one.name == command; });
    if (entry == entries.end()) {
        return false;
    }
    const auto run = entry->command;
    lock.unlock();
    run();
    return true;
}

bool CallbackDispatcher::trigger(std::string_view command)
{
    const auto all = list();
    return std::any_of(all.rbegin(), all.rend(), [command](const ClassCommands& one) {
        return std::count(one.commands.begin(), one.commands.end(), command) > 0 && trigger(one.className, command);
    });
}

} // namespace tracing
