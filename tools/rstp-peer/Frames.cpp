#include "Frames.h"

#include "BlockCodec.h"
#include "EventLayout.h"
#include "Hex.h"
#include "SFrameHeader.h"
#include "STimestamp.h"

namespace rstp_peer {
namespace {

constexpr std::uint8_t kIdsEventMessage = 1;
constexpr std::uint8_t kEventTag = 2 << 3 | 4; // parameter 2, of variable length

// Differs from the daemon's own instance, so that a core can distinguish the events.
constexpr std::uint16_t kDomainsIdsmInstance = 50;

void append(Bytes& to, std::span<const std::uint8_t> bytes)
{
    to.insert(to.end(), bytes.begin(), bytes.end());
}

} // namespace

std::optional<Bytes> fromHexLine(std::string_view line)
{
    return tool_support::fromHex(line.substr(0, line.find('#')));
}

std::string toHex(std::span<const std::uint8_t> bytes)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const auto byte : bytes) {
        text += text.empty() ? "" : " ";
        text += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
    return text;
}

void appendInteger(Bytes& to, std::uint64_t value)
{
    unsigned sizeBits = 0;
    while (sizeBits < 3 && value >> ((8U << sizeBits) - 2U) != 0) {
        ++sizeBits;
    }
    const unsigned width = 8U << sizeBits;
    const std::uint64_t field = value | std::uint64_t{sizeBits} << (width - 2U);
    for (unsigned shift = width; shift != 0;) {
        shift -= 8;
        to.push_back(static_cast<std::uint8_t>(field >> shift));
    }
}

Bytes eventFrame(std::span<const std::uint8_t> event)
{
    Bytes parameters{kEventTag};
    appendInteger(parameters, event.size());
    append(parameters, event);
    Bytes frame{kIdsEventMessage};
    appendInteger(frame, parameters.size());
    append(frame, parameters);
    return frame;
}

Bytes generatedEvent(std::uint16_t id, std::size_t contextSize, std::uint64_t number, std::uint64_t time)
{
    Bytes event(ids::kFrameHeaderSize + ids::kTimestampSize + contextSize);
    auto* const timestamp = event.data() + ids::kFrameHeaderSize;
    auto* const context = timestamp + ids::kTimestampSize;
    ids::encode<ids::kFrameHeader>(event.data(), ids::SFrameHeader{.hasTimestamp = true,
                                                                   .hasContextData = true,
                                                                   .idsmInstanceId = kDomainsIdsmInstance,
                                                                   .eventId = id});
    ids::encode<ids::kTimestamp>(timestamp, ids::toTimestamp(time));
    ids::storeInteger<ids::kLengthField.width>(context, ids::lengthWord(contextSize));
    ids::storeInteger<ids::kContextHeaderField.width>(context + ids::kContextHeaderField.offset,
                                                      ids::kContextHeaderField.constant);
    ids::storeInteger<4>(context + 7, static_cast<std::uint32_t>(number));
    return event;
}

} // namespace rstp_peer
