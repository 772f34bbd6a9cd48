#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tracing/Channel.h"

namespace test_support {

/// Records every line of every channel while it lives, from all threads; standard error stays silent meanwhile. One at
/// a time.
class CapturedLog
{
public:
    struct Line
    {
        std::string channel;
        tracing::Level level;
        std::string text;
    };

    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::vector<Line> lines() const;

    /// How many lines of the channel and level contain the text.
    std::size_t count(std::string_view channel, tracing::Level level, std::string_view substring) const;

    /// Waits until a line of any channel contains the text. Returns false when none does in time.
    bool waitFor(std::string_view substring, std::chrono::milliseconds timeout = std::chrono::seconds{5}) const;
};

} // namespace test_support
