#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "ReceivedEvent.h"

namespace core_monitor {

/// Counts the shown events for the summary. Any thread.
class Tally
{
public:
    void addShown(const ReceivedEvent& event);
    void addHidden();
    void setConnected(bool connected);

    bool wasConnected() const;

    /// A line of totals and a table of the shown events, with a row for each ID and origin. Without the last newline.
    std::string summary() const;

private:
    struct Row
    {
        std::string_view name;
        std::uint64_t count = 0;
        std::string lastTime;
    };

    mutable std::mutex m_mutex;
    std::map<std::pair<std::string, std::string_view>, Row> m_rows; // by ID, "-" without a payload, and origin
    std::uint64_t m_shown = 0;
    std::uint64_t m_raw = 0;
    std::uint64_t m_hidden = 0;
    std::uint64_t m_connections = 0;
    bool m_connected = false;
};

} // namespace core_monitor
