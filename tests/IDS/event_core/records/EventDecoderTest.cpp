#include "event_decoder.h"

#include <algorithm>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "event_factory.h"

namespace {

using namespace ids;
using namespace ids::event_decoder;
using Bytes = std::vector<std::uint8_t>;

TEST(EventDecoder, GivesBackWhatTheEventWasMadeFrom)
{
    SFirewallStatistics drop;
    drop.packetCount = 0x1203;
    drop.time = 1'700'000'123'456;
    drop.sourceAddress = Bytes(16, 0xFD);
    const auto event = event_factory::createEvent<SEvent_Firewall_Statistics>(drop);
    const auto decoded = decodeContext(event->eventId, event->contextData);
    const auto field = [&decoded](std::string_view name) {
        return *std::ranges::find(decoded.fields, name, [](const DecodedField& found) { return found.layout().name; });
    };
    EXPECT_EQ(field("length").integer(), 0x80'00C5U);
    EXPECT_EQ(field("packetCount").integer(), 0x1203U);
    EXPECT_EQ(field("time").time(), (STimestamp{.nanoseconds = 456'000'000, .seconds = 1'700'000'123}));
    EXPECT_EQ(field("interfaceName").text(), "eth0.connect");
    EXPECT_TRUE(std::ranges::equal(field("sourceAddress").bytes(), drop.sourceAddress));
}

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

TEST(EventCatalogue, KnowsAllEventsAndNamesTheirFieldsApart)
{
    std::size_t fields = 0;
    std::size_t bytes = 0;
    std::size_t neverDashes = 0;
    std::set<std::pair<std::string_view, std::string_view>> names;
    for (const auto& event : event_catalogue::events()) {
        EXPECT_EQ(contextDataSize(event.eventId), event.contextDataSize);
        bytes += event.contextDataSize;
        for (const SFieldLayout& field : event.fields) {
            names.emplace(event.name, field.name);
            neverDashes += field.kind == EFieldKind::characters ? 1 : 0;
            ++fields;
        }
    }
    EXPECT_EQ(event_catalogue::events().size(), 31U);
    EXPECT_EQ(bytes, 2720U);
    EXPECT_EQ(names.size(), fields);
    EXPECT_EQ(neverDashes, 2U) << "of all texts";
}

} // namespace
