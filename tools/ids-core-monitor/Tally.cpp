#include "Tally.h"

#include <array>
#include <cstdio>

#include "event_text.h"

namespace core_monitor {
namespace {

std::string rowText(const std::string& id, std::string_view name, const std::string& count, const std::string& time,
                    std::string_view origin)
{
    std::array<char, 128> text;
    std::snprintf(text.data(), text.size(), "\n%-6s  %-36.*s  %8s  %-20s  %.*s", id.c_str(),
                  static_cast<int>(name.size()), name.data(), count.c_str(), time.c_str(),
                  static_cast<int>(origin.size()), origin.data());
    return text.data();
}

} // namespace

void Tally::addShown(const ReceivedEvent& event)
{
    const std::lock_guard lock{m_mutex};
    ++m_shown;
    m_raw += event.isRaw ? 1 : 0;
    auto& row = m_rows[{event.payload ? idText(event.payload->eventId) : "-", event.origin()}];
    row.name = event.name();
    row.lastTime = timeText(event.timestamp, 0);
    ++row.count;
}

void Tally::addHidden()
{
    const std::lock_guard lock{m_mutex};
    ++m_hidden;
}

void Tally::setConnected(bool connected)
{
    const std::lock_guard lock{m_mutex};
    m_connected = connected;
    m_connections += connected ? 1 : 0;
}

bool Tally::wasConnected() const
{
    const std::lock_guard lock{m_mutex};
    return m_connections > 0;
}

std::string Tally::summary() const
{
    const std::lock_guard lock{m_mutex};
    std::string text = m_connected ? "connected" : "not connected";
    text += "; connections " + std::to_string(m_connections) + ", events " + std::to_string(m_shown) + ", raw " +
            std::to_string(m_raw) + ", not shown " + std::to_string(m_hidden);
    if (!m_rows.empty()) {
        text += rowText("ID", "event", "count", "last seen", "reported by");
    }
    for (const auto& [key, row] : m_rows) {
        text += rowText(key.first, row.name, std::to_string(row.count), row.lastTime, key.second);
    }
    return text;
}

} // namespace core_monitor
