#include "event_decoder.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace {

using namespace ids;
using namespace ids::event_decoder;
using Bytes = std::vector<std::uint8_t>;

TEST(EventDecoder, AnyBytesOfAnyLengthAreReadAsFarAsTheyGo)
{
    std::mt19937 random{1};
    for (const auto& event : event_catalogue::events()) {
        for (std::size_t length = 0; length <= event.contextDataSize + 3U; ++length) {
            Bytes bytes(length); // ends where its memory ends, so that a sanitizer sees a read behind it
            std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random()); });
            const auto decoded = decodeContext(event.eventId, bytes);

            EXPECT_EQ(decoded.missing, length < event.contextDataSize ? event.contextDataSize - length : 0U);
            const std::size_t described = event.fields.empty() ? 0 : event.contextDataSize;
            EXPECT_EQ(decoded.rest.size(), length > described ? length - described : 0U);
            ASSERT_EQ(decoded.fields.size(), event.fields.size());
            for (const DecodedField& field : decoded.fields) {
                const SFieldLayout& layout = field.layout();
                const bool isCut = length < std::size_t{layout.offset} + layout.width;
                EXPECT_EQ(field.bytes().size(), isCut ? 0U : layout.width);
                EXPECT_LE(field.text().size(), field.bytes().size());
                EXPECT_TRUE(!isCut || (field.integer() == 0 && field.time() == STimestamp{}));
            }
        }
    }
    EXPECT_EQ(decodeContext(0xD703, Bytes(11)).rest.size(), 11U);
}

TEST(EventDecoder, TextEndsAtItsPaddingAndDashesMeanNone)
{
    const auto read = [](EFieldKind kind, const std::string& text) {
        const SFieldLayout layout{"text", 0, 4, kind};
        return DecodedField{layout, Bytes(text.begin(), text.end())}.text();
    };
    EXPECT_EQ(read(EFieldKind::text, {'a', 0, 'b', 0}), (std::string{'a', 0, 'b'}));
    EXPECT_EQ(read(EFieldKind::text, "----"), "");
    EXPECT_EQ(read(EFieldKind::text, {'-', '-', 0, 0}), "--");
    EXPECT_EQ(read(EFieldKind::characters, "----"), "----");
}

TEST(EventDecoder, FrameHeaderGivesEveryBitToItsFieldAndShortBlocksAreRefused)
{
    const Bytes frame{0xA6, 0x80, 0x6A, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xFF};
    EXPECT_EQ(decodeFrameHeader(frame), (SFrameHeader{10, 1, true, false, 0x201, 0x2A, 0x1234, 0x5678, 0x9A}));
    for (std::size_t length = 0; length < 8; ++length) {
        EXPECT_EQ(decodeFrameHeader(Bytes(length)), std::nullopt);
        EXPECT_EQ(decodeTimestamp(Bytes(length)), std::nullopt);
    }
}

TEST(EventCatalogue, KnowsTheSizesOfAllEvents)
{
    std::size_t bytes = 0;
    for (const auto& event : event_catalogue::events()) {
        bytes += event.contextDataSize;
    }
    EXPECT_EQ(event_catalogue::events().size(), 31U);
    EXPECT_EQ(bytes, 2720U);
}

} // namespace
