#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "ReceivedEvent.h"

namespace core_monitor {

/// What there was since the start, for the summary. Any thread.
class Tally
{
public:
    void addShown(const ReceivedEvent& event);
    void addHidden();
    void setConnected(bool connected);

    bool wasConnected() const;

    /// One line without its end.
    std::string summary() const;

    /// A line for each ID shown: who reports it. Empty when there was nothing.
    std::string legend() const;

private:
    mutable std::mutex m_mutex;
    std::map<std::optional<std::uint16_t>, std::uint64_t> m_shownById; // without an ID: those without payload
    std::uint64_t m_shown = 0;
    std::uint64_t m_raw = 0;
    std::uint64_t m_hidden = 0;
    std::uint64_t m_connections = 0;
    bool m_connected = false;
};

} // namespace core_monitor
