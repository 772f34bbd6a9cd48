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

/// Shows and counts what the connection brings, and tells on standard error how the connection fares. On the active
/// object, which a reader of ours that does not read holds up: then events wait on the bus and are lost when these
/// become too many for it.
class Monitor final : public ICoreConnectionListener
{
public:
    using Format = std::function<std::string(const ReceivedEvent&)>;

    /// capture: where the events that are shown go as well; may be null.
    Monitor(const Options& options, Format format, const LineOutput& output, PcapngFile* capture, Tally& tally,
            Ending& ending);

    void onConnected() override;
    void onAway(std::string_view why) override;
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

/// Prints a line of the program's own to standard error.
void say(std::string_view text);

} // namespace core_monitor
