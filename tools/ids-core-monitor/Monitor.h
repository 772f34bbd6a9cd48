#pragma once

#include <functional>
#include <string>

#include "CoreConnection.h"
#include "Ending.h"
#include "LineOutput.h"
#include "Options.h"
#include "PcapngFile.h"
#include "Tally.h"

namespace core_monitor {

/// Shows and counts the events of the connection, and reports each connection and disconnection on standard error. Runs
/// on the active object, which waits for a slow reader of the output: events then wait on the bus, which drops those
/// beyond its limit.
class Monitor final : public ICoreConnectionListener
{
public:
    using Format = std::function<std::string(const ReceivedEvent&)>;

    /// capture: also receives the shown events; may be null.
    Monitor(const Options& options, Format format, const LineOutput& output, PcapngFile* capture, Tally& tally,
            Ending& ending);

    void onConnected() override;
    void onDisconnected(std::string_view why) override;
    void onEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& payload, bool isValid) override;

private:
    bool isWanted(const ReceivedEvent& event) const;
    void show(const ReceivedEvent& event);
    void capture(const ReceivedEvent& event);

    const Options& m_options;
    const Format m_format;
    const LineOutput& m_output;
    PcapngFile* const m_capture;
    Tally& m_tally;
    Ending& m_ending;
    std::uint64_t m_shown = 0;
};

/// Prints a message of the program to standard error.
void say(std::string_view text);

} // namespace core_monitor
