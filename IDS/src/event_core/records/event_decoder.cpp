#include "event_decoder.h"

#include <algorithm>

#include "BlockCodec.h"

namespace ids::event_decoder {

namespace {

std::span<const std::uint8_t> slotOf(const SFieldLayout& layout, std::span<const std::uint8_t> block)
{
    if (layout.offset >= block.size()) {
        return {};
    }
    const auto tail = block.subspan(layout.offset);
    return tail.first(std::min<std::size_t>(tail.size(), layout.width));
}

} // namespace

DecodedField::DecodedField(const SFieldLayout& layout, std::span<const std::uint8_t> block)
    : m_layout{&layout}, m_bytes{slotOf(layout, block)}
{}

std::uint64_t DecodedField::integer() const
{
    return isCut() ? 0 : loadInteger(m_bytes, m_layout->mask);
}

std::string DecodedField::text() const
{
    const auto slot = bytes();
    if (m_layout->kind == EFieldKind::text && std::ranges::all_of(slot, [](std::uint8_t byte) { return byte == '-'; }))
    {
        return {};
    }
    const auto last = std::find_if(slot.rbegin(), slot.rend(), [](std::uint8_t byte) { return byte != 0; });
    return {slot.begin(), last.base()};
}

STimestamp DecodedField::time() const
{
    if (isCut() || m_layout->width < kTimestampSize) {
        return {};
    }
    return decode<kTimestamp>(m_bytes.last<kTimestampSize>().data());
}

SDecodedContext decodeContext(std::uint16_t eventId, std::span<const std::uint8_t> contextData)
{
    const auto* event = event_catalogue::findEvent(eventId);
    if (event == nullptr) {
        return {nullptr, {}, 0, contextData};
    }
    SDecodedContext decoded{event, {}, 0, contextData};
    decoded.missing = event->contextDataSize - std::min<std::size_t>(event->contextDataSize, contextData.size());
    for (const SFieldLayout& field : event->fields) {
        decoded.fields.emplace_back(field, contextData);
    }
    if (!event->fields.empty()) {
        decoded.rest = contextData.subspan(std::min<std::size_t>(event->contextDataSize, contextData.size()));
    }
    return decoded;
}

std::optional<SFrameHeader> decodeFrameHeader(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < kFrameHeaderSize) {
        return std::nullopt;
    }
    return decode<kFrameHeader>(bytes.data());
}

std::optional<STimestamp> decodeTimestamp(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < kTimestampSize) {
        return std::nullopt;
    }
    return decode<kTimestamp>(bytes.data());
}

} // namespace ids::event_decoder
