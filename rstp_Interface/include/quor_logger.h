#pragma once

/// What the RSTP library logs through: one operation for each level, with printf's format and arguments.
class quor_logger
{
public:
    virtual ~quor_logger() = default;
    [[gnu::format(printf, 2, 3)]] virtual void detail(const char* format, ...) const = 0;
    [[gnu::format(printf, 2, 3)]] virtual void progress(const char* format, ...) const = 0;
    [[gnu::format(printf, 2, 3)]] virtual void milestone(const char* format, ...) const = 0;
    [[gnu::format(printf, 2, 3)]] virtual void warning(const char* format, ...) const = 0;
    [[gnu::format(printf, 2, 3)]] virtual void error(const char* format, ...) const = 0;
    [[gnu::format(printf, 2, 3)]] virtual void resource(const char* format, ...) const = 0;
};
