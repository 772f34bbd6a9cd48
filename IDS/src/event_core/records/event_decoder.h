#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "SFieldLayout.h"
#include "SFrameHeader.h"
#include "STimestamp.h"
#include "event_catalogue.h"

/// Reads the bytes of events, from whomever they come and however many there are.
namespace ids::event_decoder {

/// One field as it stands in a block. It points into the block and must not outlive it.
class DecodedField
{
public:
    DecodedField(const SFieldLayout& layout, std::span<const std::uint8_t> block);

    const SFieldLayout& layout() const { return *m_layout; }

    /// The block ends before the field does. All values of the field are then 0 or empty.
    bool isCut() const { return m_bytes.size() < m_layout->width; }

    /// The bytes of the field; of an address, all 16.
    std::span<const std::uint8_t> bytes() const { return isCut() ? std::span<const std::uint8_t>{} : m_bytes; }

    /// The value of an integer or constant.
    std::uint64_t integer() const;

    /// The characters up to the zeros at the end; empty for a text that is '-' all over. Any byte may be among them.
    std::string text() const;

    STimestamp time() const;

private:
    const SFieldLayout* m_layout;
    std::span<const std::uint8_t> m_bytes;
};

struct SDecodedContext
{
    const event_catalogue::SEventLayout* event; ///< null when the ID is not known
    std::vector<DecodedField> fields;           ///< all fields of the event, the cut ones included
    std::size_t missing;                        ///< bytes that the event should have and the block has not
    std::span<const std::uint8_t> rest;         ///< bytes of the block that no field describes
};

SDecodedContext decodeContext(std::uint16_t eventId, std::span<const std::uint8_t> contextData);

/// Nothing when there are fewer than 8 bytes; more than 8 are not looked at.
std::optional<SFrameHeader> decodeFrameHeader(std::span<const std::uint8_t> bytes);

/// Nothing when there are fewer than 8 bytes; more than 8 are not looked at.
std::optional<STimestamp> decodeTimestamp(std::span<const std::uint8_t> bytes);

} // namespace ids::event_decoder
