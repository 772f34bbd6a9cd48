#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "event_decoder.h"
#include "ids/IIdsm.h"
#include "ids/SEvent.h"

namespace test_support {

/// A dispatcher that records the reported events. Used on one thread at a time.
class RecordingIdsm final : public ids::IIdsm
{
public:
    bool reportEvent(const std::shared_ptr<ids::SEvent>& event) override
    {
        if (event) {
            m_events.push_back(event);
        }
        return event != nullptr;
    }

    const std::vector<std::shared_ptr<ids::SEvent>>& events() const { return m_events; }

    /// The IDs of the events in the order of the reports.
    std::vector<std::uint16_t> eventIds() const
    {
        std::vector<std::uint16_t> all;
        for (const auto& event : m_events) {
            all.push_back(event->eventId);
        }
        return all;
    }

    /// A field of the event with this index. Throws when it does not exist.
    ids::event_decoder::DecodedField field(std::size_t place, std::string_view name) const
    {
        const auto& event = m_events.at(place);
        for (const auto& one : ids::event_decoder::decodeContext(event->eventId, event->contextData).fields) {
            if (one.layout().name == name) {
                return one;
            }
        }
        throw std::out_of_range{"no such field"};
    }

private:
    std::vector<std::shared_ptr<ids::SEvent>> m_events;
};

} // namespace test_support
