#pragma once

#include <array>
#include <dlt_user.h>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "tracing/Channel.h"

namespace tracing {

/// The sink of the viewer's slot, the only user of libdlt. A single object that is never destroyed, because a thread
/// may be about to write when the link ends. Lines are written from every thread, one at a time; the callbacks run on a
/// thread of the library.
class DltSink final : public ISink
{
public:
    using Command = std::function<void(const std::string&)>;

    static DltSink& instance();

    bool link(Command onCommand);

    /// Waits for a running callback. Later lines are dropped.
    void unlink();

    void write(const Line& line) noexcept override;

private:
    struct Context
    {
        std::array<char, DLT_ID_SIZE> id;
        DltContext handle;
    };

    DltSink() = default;
    void registerContext(const std::string& channel, const std::string& id);
    void setViewerThreshold(std::string_view channel, int threshold);
    static void onLogLevel(char* contextId, std::uint8_t level, std::uint8_t traceStatus);
    static int onInjection(std::uint32_t service, void* data, std::uint32_t size);

    Command m_onCommand;
    std::map<std::string, Context, std::less<>> m_contexts; // by channel; complete before the first callback
    std::mutex m_mutex;
    bool m_linked = false;
};

} // namespace tracing
