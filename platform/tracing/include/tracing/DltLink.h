#pragma once

#include <functional>
#include <string>

namespace tracing {

/// Registers the process as an application of the DLT daemon for the object's lifetime: every channel whose sinks
/// include the viewer becomes a context, with the channel's name as its description (docs/tracing.md lists the ids). At
/// most one object exists; it is made and destroyed on the main thread.
///
/// The DLT daemon's log level for a context, initially its default and then the level set at the viewer, is the
/// channel's threshold for the viewer. It has no effect on standard error, whose thresholds are those of TRACING.
///
/// The library starts two threads and wakes twice a second, even when no DLT daemon answers: make the object only if
/// endpointIsThere. A line then costs a system call and never blocks. Lines that the DLT daemon does not read are
/// buffered up to 500,000 bytes; beyond that they are lost, and the viewer gets their number.
class DltLink
{
public:
    using Command = std::function<void(const std::string&)>;

    /// onCommand: called with the text of every injection into any context under kCommandService, on a thread of the
    /// library, one at a time. If it is empty, injections are ignored.
    explicit DltLink(Command onCommand);
    ~DltLink();
    DltLink(const DltLink&) = delete;
    DltLink& operator=(const DltLink&) = delete;

    static constexpr unsigned kCommandService = 4096;

    /// False when the library could not connect to the DLT daemon; no viewer gets the log then.
    bool made() const { return m_made; }

    /// The path of the DLT daemon's pipe, empty in a build without DLT: the environment variable DLT_PIPE_DIR and
    /// "/dlt".
    static std::string endpoint();

    /// Whether the endpoint is a pipe that this process may write to and whose owner is trusted: it belongs to root, to
    /// this process' user or to one of its groups, and is not writable by all.
    static bool endpointIsThere();

private:
    const bool m_made;
};

} // namespace tracing
