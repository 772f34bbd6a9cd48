#include "ReceivedEvent.h"

#include <utility>

#include "event_text.h"

namespace core_monitor {
namespace {

constexpr std::uint16_t kDaemonsIdsmInstance = 49;
constexpr std::string_view kSomeIp = "SOME/IP";
constexpr std::uint32_t kNanosecondsPerSecond = 1'000'000'000;

std::span<const std::uint8_t> bytesOf(const UInt8Array& array)
{
    return array ? std::span<const std::uint8_t>{*array} : std::span<const std::uint8_t>{};
}

std::string sizeNote(const std::string& block, std::size_t size, std::size_t wanted)
{
    if (size == 0) {
        return "no " + block;
    }
    return block + (size < wanted ? " cut: " : " too long: ") + std::to_string(size) + " of " + std::to_string(wanted) +
           " bytes";
}

bool isFramedByTheDaemon(const ReceivedEvent& event)
{
    return event.frameBytes.size() == ids::kFrameHeaderSize &&
           event.frame == ids::SFrameHeader{.hasTimestamp = true,
                                            .hasContextData = true,
                                            .idsmInstanceId = kDaemonsIdsmInstance,
                                            .eventId = event.payload->eventId};
}

std::vector<std::string> notesOn(const ReceivedEvent& event)
{
    std::vector<std::string> notes;
    const auto* const layout = event.context.event;
    if (layout == nullptr && event.origin() != kSomeIp) {
        notes.emplace_back("unknown ID");
    } else if (layout != nullptr && event.contextBytes.size() != layout->contextDataSize) {
        notes.push_back(sizeNote("context data", event.contextBytes.size(), layout->contextDataSize));
    }
    if (event.frameBytes.size() != ids::kFrameHeaderSize) {
        notes.push_back(sizeNote("frame", event.frameBytes.size(), ids::kFrameHeaderSize));
    }
    if (event.frame && event.frame->eventId != event.payload->eventId) {
        notes.push_back("frame ID " + idText(event.frame->eventId));
    }
    if (event.timestampBytes.size() != ids::kTimestampSize) {
        notes.push_back(sizeNote("timestamp", event.timestampBytes.size(), ids::kTimestampSize));
    }
    if (event.timestamp && event.timestamp->nanoseconds >= kNanosecondsPerSecond) {
        notes.push_back("timestamp with " + std::to_string(event.timestamp->nanoseconds) + " nanoseconds");
    }
    return notes;
}

} // namespace

ReceivedEvent::ReceivedEvent(util::SharedPtr<asi::connectivity::idscore::SecEvent> received, bool isValid)
    : payload{std::move(received)}, context{nullptr, {}, 0, {}}
{
    if (payload) {
        frameBytes = bytesOf(payload->eventFrame);
        timestampBytes = bytesOf(payload->timestamp);
        contextBytes = bytesOf(payload->contextData);
        frame = ids::event_decoder::decodeFrameHeader(frameBytes);
        timestamp = ids::event_decoder::decodeTimestamp(timestampBytes);
        context = ids::event_decoder::decodeContext(payload->eventId, contextBytes);
        isRaw = context.event == nullptr || context.event->name.empty() ||
                contextBytes.size() != context.event->contextDataSize || !isFramedByTheDaemon(*this);
        notes = notesOn(*this);
    } else {
        notes.emplace_back("no payload");
    }
    if (!isValid) {
        notes.emplace_back("marked as not valid");
    }
}

std::string_view ReceivedEvent::name() const
{
    if (context.event == nullptr) {
        return "unknown";
    }
    return context.event->name.empty() ? "-" : context.event->name;
}

std::string_view ReceivedEvent::origin() const
{
    if (!payload) {
        return "-";
    }
    if (!isRaw) {
        return context.event->producer.substr(0, context.event->producer.find(':'));
    }
    const bool isIdOfFrame = frame && frame->eventId == payload->eventId &&
                             frameBytes.size() == ids::kFrameHeaderSize && timestampBytes.size() == ids::kTimestampSize;
    return payload->eventId == 0 && !isIdOfFrame ? kSomeIp : "other domain";
}

std::string ReceivedEvent::note() const
{
    std::string all;
    for (const auto& one : notes) {
        all += (all.empty() ? "" : "; ") + one;
    }
    return all;
}

} // namespace core_monitor
