#pragma once

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Eventually.h"
#include "iplbase/NonCopyable.h"
#include "tracing/Channel.h"

namespace test_support {

/// Records every line of every channel during its lifetime, from all threads; nothing is written to standard error. One
/// at a time.
class CapturedLog : iplbase::NonCopyable
{
public:
    struct Line
    {
        std::string channel;
        tracing::Level level;
        std::string text;
    };

    CapturedLog()
    {
        {
            const std::lock_guard lock{s_recorder.mutex};
            s_recorder.lines.clear();
        }
        tracing::setSink(tracing::standardError, nullptr);
        tracing::setSink(tracing::observer, &s_recorder);
        tracing::setThresholds("*=0");
    }

    ~CapturedLog()
    {
        tracing::setThresholds(nullptr);
        tracing::setSink(tracing::observer, nullptr);
        tracing::setSink(tracing::standardError, &tracing::standardErrorSink());
    }

    std::vector<Line> lines() const
    {
        const std::lock_guard lock{s_recorder.mutex};
        return s_recorder.lines;
    }

    /// The number of lines of the channel and level that contain the text.
    std::size_t count(std::string_view channel, tracing::Level level, std::string_view substring) const
    {
        const auto all = lines();
        return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [&](const Line& line) {
            return line.channel == channel && line.level == level && line.text.find(substring) != std::string::npos;
        }));
    }

    /// Waits until a line of any channel contains the text. Returns false on a timeout.
    bool waitFor(std::string_view substring) const
    {
        const auto matches = [&](const Line& line) { return line.text.find(substring) != std::string::npos; };
        return eventually([&] {
            const std::lock_guard lock{s_recorder.mutex};
            return std::any_of(s_recorder.lines.begin(), s_recorder.lines.end(), matches);
        });
    }

private:
    struct Recorder final : tracing::ISink
    {
        void write(const tracing::Line& line) noexcept override
        {
            const std::lock_guard lock{mutex};
            lines.push_back({line.channel, line.level, std::string{line.text}});
        }

        std::mutex mutex;
        std::vector<Line> lines;
    };

    // Never destroyed: a thread may still be inside write when the log is destroyed.
    static inline Recorder& s_recorder = *new Recorder;
};

} // namespace test_support
