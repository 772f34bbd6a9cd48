#include "IplLogger.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

namespace {

using tracing::Level;

[[gnu::format(printf, 3, 0)]] void write(const tracing::Channel& channel, Level level, const char* format, va_list args)
{
    if (!channel.passes(level)) {
        return;
    }
    std::array<char, 1024> text;
    const int length = std::vsnprintf(text.data(), text.size(), format, args);
    channel.writeText(
        level, {text.data(), static_cast<std::size_t>(std::clamp(length, 0, static_cast<int>(text.size()) - 1))});
}

} // namespace

void IplLogger::detail(const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    write(m_channel, Level::detail, format, args);
    va_end(args);
}

void IplLogger::progress(const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    write(m_channel, Level::progress, format, args);
    va_end(args);
}

void IplLogger::milestone(const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    write(m_channel, Level::milestone, format, args);
    va_end(args);
}

void IplLogger::warning(const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    write(m_channel, Level::warning, format, args);
    va_end(args);
}

void IplLogger::error(const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    write(m_channel, Level::error, format, args);
    va_end(args);
}

void IplLogger::resource(const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    write(m_channel, Level::resource, format, args);
    va_end(args);
}
