#include "Tally.h"

#include "event_catalogue.h"
#include "event_text.h"

namespace core_monitor {

void Tally::addShown(const ReceivedEvent& event)
{
    const std::lock_guard lock{m_mutex};
    ++m_shown;
    m_raw += event.isRaw ? 1 : 0;
    ++m_shownById[event.payload ? std::optional{event.payload->eventId} : std::nullopt];
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
    const char* separator = "; ";
    for (const auto& [id, count] : m_shownById) {
        text += separator;
        separator = ", ";
        if (!id) {
            text += "without payload";
        } else {
            text += idText(*id);
            if (const auto* const event = ids::event_catalogue::findEvent(*id); event && !event->name.empty()) {
                text += " " + std::string{event->name};
            }
        }
        text += " " + std::to_string(count);
    }
    return text;
}

std::string Tally::legend() const
{
    const std::lock_guard lock{m_mutex};
    std::string text;
    for (const auto& [id, count] : m_shownById) {
        if (!id) {
            continue;
        }
        const auto* const event = ids::event_catalogue::findEvent(*id);
        const bool isOurs = event != nullptr && !event->name.empty();
        text += idText(*id) + "  " +
                (isOurs ? std::string{event->name} + "  " + std::string{event->producer}
                        : std::string{"-  another domain, passed on as it came"}) +
                "\n";
    }
    return text;
}

} // namespace core_monitor
