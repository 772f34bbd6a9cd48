#include "event_catalogue.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "EventRecords.h"
#include "SFrameHeader.h"
#include "STimestamp.h"

namespace ids::event_catalogue {

namespace {

template <const auto& kLayout>
constexpr auto kContextFields = contextFieldsOf<kLayout>();

constexpr auto kFrameHeaderFields = fieldsOf<kFrameHeader>();
constexpr auto kTimestampFields = fieldsOf<kTimestamp>();

template <typename... RecordT>
consteval auto describe(RecordList<RecordT...>)
{
    static_assert(((RecordT::kLayout.size() == contextDataSize(RecordT::kEventId)) && ...));

    std::array<SEventLayout, kKnownEvents.size()> events{};
    const auto describeOne = [](SEventLayout& event, std::uint16_t eventId, const auto& layout,
                                std::span<const SFieldLayout> fields) {
        if (event.eventId == eventId) {
            event.name = layout.name;
            event.producer = layout.producer;
            event.fields = fields;
        }
    };
    for (std::size_t i = 0; i < events.size(); ++i) {
        events[i].eventId = kKnownEvents[i].eventId;
        events[i].contextDataSize = kKnownEvents[i].contextDataSize;
        (describeOne(events[i], RecordT::kEventId, RecordT::kLayout, kContextFields<RecordT::kLayout>), ...);
    }
    return events;
}

constexpr auto kEvents = describe(EventRecords{});

template <typename... RecordT>
consteval bool describesEach(RecordList<RecordT...>)
{
    return std::ranges::count_if(kEvents, [](const auto& event) { return !event.fields.empty(); }) ==
           sizeof...(RecordT);
}

static_assert(describesEach(EventRecords{}), "two record types share an event ID");

} // namespace

std::span<const SEventLayout> events()
{
    return kEvents;
}

const SEventLayout* findEvent(std::uint16_t eventId)
{
    const auto event = std::ranges::lower_bound(kEvents, eventId, {}, &SEventLayout::eventId);
    return event != kEvents.end() && event->eventId == eventId ? &*event : nullptr;
}

std::span<const SFieldLayout> frameHeaderFields()
{
    return kFrameHeaderFields;
}

std::span<const SFieldLayout> timestampFields()
{
    return kTimestampFields;
}

} // namespace ids::event_catalogue
