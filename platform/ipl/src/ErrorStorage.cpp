#include "ipl/ErrorStorage.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace ipl {
namespace {

struct Error
{
    std::uint32_t code = 0;
    char reason[256] = "no error";
};

thread_local Error t_error;
std::atomic<ErrorStorage::Action> g_action{nullptr};

} // namespace

void ErrorStorage::action_dump_to_stdout(std::uint32_t code, const char* reason)
{
    dprintf(1, "unacknowledged platform error %u: %s\n", code, reason);
}

ErrorStorage::ErrorStorage(Action action)
{
    g_action = action;
}

ErrorStorage::~ErrorStorage()
{
    g_action = nullptr;
}

void ErrorStorage::set(std::uint32_t code, const char* format, ...)
{
    if (const auto action = g_action.load(); pending() && action != nullptr) {
        action(t_error.code, t_error.reason);
    }
    t_error.code = code;
    va_list args;
    va_start(args, format);
    std::vsnprintf(t_error.reason, sizeof t_error.reason, format, args);
    va_end(args);
}

bool ErrorStorage::pending()
{
    return t_error.code != 0;
}

std::uint32_t ErrorStorage::code()
{
    return t_error.code;
}

const char* ErrorStorage::reason()
{
    return t_error.reason;
}

void ErrorStorage::ack()
{
    t_error = Error{};
}

} // namespace ipl
