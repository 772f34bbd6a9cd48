#include "Monitor.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace core_monitor {

void say(std::string_view text)
{
    dprintf(STDERR_FILENO, "ids-core-monitor: %.*s\n", static_cast<int>(text.size()), text.data());
}

Monitor::Monitor(const Options& options, Format format, const LineOutput& output, PcapngFile* capture, Tally& tally,
                 Ending& ending)
    : m_options{options},
      m_format{std::move(format)},
      m_output{output},
      m_capture{capture},
      m_tally{tally},
      m_ending{ending}
{}

void Monitor::onConnected()
{
    m_tally.setConnected(true);
    say("connected to the daemon");
}

void Monitor::onDisconnected(std::string_view why)
{
    m_tally.setConnected(false);
    say(why);
}

void Monitor::onEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& payload, bool isValid)
{
    if (m_ending.isNear()) {
        return;
    }
    const ReceivedEvent event{payload, isValid};
    if (isWanted(event)) {
        capture(event);
        show(event);
    } else {
        m_tally.addHidden();
    }
}

bool Monitor::isWanted(const ReceivedEvent& event) const
{
    return m_options.only.empty() || (event.payload && m_options.only.contains(event.payload->eventId));
}

void Monitor::capture(const ReceivedEvent& event)
{
    if (m_capture == nullptr || !event.payload) {
        return;
    }
    if (const int error = m_capture->write(event)) {
        say(std::string{"cannot write the capture file: "} + std::strerror(error));
        m_ending.because(Ending::Reason::outputFailed);
    }
}

void Monitor::show(const ReceivedEvent& event)
{
    const int error = m_output.write(m_format(event));
    if (error == EPIPE || error == EBADF) {
        m_ending.because(Ending::Reason::outputClosed);
    } else if (error != 0 && error != ECANCELED) {
        say(std::string{"cannot write: "} + std::strerror(error));
        m_ending.because(Ending::Reason::outputFailed);
    }
    if (error != 0) {
        return;
    }
    m_tally.addShown(event);
    if (++m_shown == m_options.count) {
        m_ending.because(Ending::Reason::enoughSeen);
    }
}

} // namespace core_monitor
