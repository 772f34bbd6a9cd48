#pragma once

#include <functional>
#include <string>

namespace tracing {

/// Makes the process an application of the DLT daemon for as long as the object lives: every channel that has the
/// viewer among its sinks is a context there, with the channel's name as its description (the ids are in
/// docs/tracing.md). One at a time; made and destroyed on the main thread.
///
/// The log level that the DLT daemon has for a context, its default at first and what somebody at the viewer chooses
/// later, is the channel's threshold for the viewer, and only that. So the viewer shows what it was set to, and
/// standard error what TRACING was set to.
///
/// The library has two threads and wakes twice a second, also when no DLT daemon answers: make the object only when
/// endpointIsThere. Once made, a line costs a system call and never waits. What a DLT daemon that has stopped reading
/// does not take is kept up to 500,000 bytes and lost beyond that; the viewer is told how much.
class DltLink
{
public:
    using Command = std::function<void(const std::string&)>;

    /// onCommand: given the text of what is injected into any of the contexts under kCommandService, on a thread of the
    /// library, one at a time. When empty, nothing can be injected.
    explicit DltLink(Command onCommand);
    ~DltLink();
    DltLink(const DltLink&) = delete;
    DltLink& operator=(const DltLink&) = delete;

    static constexpr unsigned kCommandService = 4096;

    /// False when the library could not reach the DLT daemon; there is no viewer then.
    bool made() const { return m_made; }

    /// Where the DLT daemon listens, empty in a build without DLT: the environment variable DLT_PIPE_DIR and "/dlt".
    static std::string endpoint();

    /// Whether a DLT daemon's pipe is at the endpoint to which this process may write, and somebody's who may be
    /// trusted with the log: it belongs to root, to us or to one of our groups, and not everybody may write to it.
    static bool endpointIsThere();

private:
    const bool m_made;
};

} // namespace tracing
