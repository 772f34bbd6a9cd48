#include "CapturedLog.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace test_support {
namespace {

// Never destroyed: a thread may be inside write when the log that it writes to is given up.
class Recorder final : public tracing::ISink
{
public:
    void write(const tracing::Line& line) noexcept override
    {
        const std::lock_guard lock{mutex};
        lines.push_back({line.channel, line.level, std::string{line.text}});
        added.notify_all();
    }

    std::mutex mutex;
    std::condition_variable added;
    std::vector<CapturedLog::Line> lines;
};

Recorder& recorder()
{
    static auto* const only = new Recorder;
    return *only;
}

} // namespace

CapturedLog::CapturedLog()
{
    {
        const std::lock_guard lock{recorder().mutex};
        recorder().lines.clear();
    }
    tracing::setSink(tracing::standardError, nullptr);
    tracing::setSink(tracing::observer, &recorder());
    tracing::setThresholds("*=0");
}

CapturedLog::~CapturedLog()
{
    tracing::setThresholds(nullptr);
    tracing::setSink(tracing::observer, nullptr);
    tracing::setSink(tracing::standardError, &tracing::standardErrorSink());
}

std::vector<CapturedLog::Line> CapturedLog::lines() const
{
    const std::lock_guard lock{recorder().mutex};
    return recorder().lines;
}

std::size_t CapturedLog::count(std::string_view channel, tracing::Level level, std::string_view substring) const
{
    const auto all = lines();
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [&](const Line& line) {
        return line.channel == channel && line.level == level && line.text.find(substring) != std::string::npos;
    }));
}

bool CapturedLog::waitFor(std::string_view substring, std::chrono::milliseconds timeout) const
{
    std::unique_lock lock{recorder().mutex};
    return recorder().added.wait_for(lock, timeout, [&] {
        const auto& all = recorder().lines;
        return std::any_of(all.begin(), all.end(),
                           [&](const Line& line) { return line.text.find(substring) != std::string::npos; });
    });
}

} // namespace test_support
