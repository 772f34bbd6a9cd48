#include "event_decoder.h"

#include <algorithm>
#include <memory>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "Samples.h"
#include "event_factory.h"

namespace {

using namespace ids;
using event_decoder::decodeContext;
using event_decoder::DecodedField;
using event_decoder::decodeFrameHeader;
using event_decoder::decodeTimestamp;
using samples::Bytes;
using samples::counting;
using samples::sample;

/// A copy that ends where its memory ends, so that a sanitizer sees a read behind it.
std::span<const std::uint8_t> exactCopy(std::unique_ptr<std::uint8_t[]>& memory, const Bytes& bytes)
{
    memory = std::make_unique<std::uint8_t[]>(bytes.size());
    std::ranges::copy(bytes, memory.get());
    return {memory.get(), bytes.size()};
}

const DecodedField& fieldNamed(const event_decoder::SDecodedContext& context, std::string_view name)
{
    return *std::ranges::find(context.fields, name, [](const DecodedField& field) { return field.layout().name; });
}

template <typename ValueT>
void expectValue(const DecodedField& field, const ValueT& value)
{
    if constexpr (std::is_arithmetic_v<ValueT>) {
        if (field.layout().kind == EFieldKind::time) {
            EXPECT_EQ(field.time(), toTimestamp(value));
        } else {
            EXPECT_EQ(field.integer(), value & (~std::uint64_t{0} >> (64 - 8 * field.layout().width)));
        }
    } else if constexpr (std::is_same_v<ValueT, std::string>) {
        EXPECT_EQ(field.text(), value);
    } else {
        EXPECT_EQ(Bytes(field.bytes().begin(), field.bytes().end()), value);
    }
}

template <typename RecordT>
class EveryDecodedEvent : public testing::Test
{};

TYPED_TEST_SUITE(EveryDecodedEvent, samples::RecordTypes, samples::RecordNames);

TYPED_TEST(EveryDecodedEvent, GivesBackWhatItWasMadeFrom)
{
    const auto input = sample<typename TypeParam::Input>();
    const auto event = event_factory::createEvent<TypeParam>(input);

    const auto decoded = decodeContext(event->eventId, event->contextData);
    ASSERT_NE(decoded.event, nullptr);
    EXPECT_EQ(decoded.event->name, TypeParam::kLayout.name);
    EXPECT_EQ(decoded.missing, 0U);
    EXPECT_TRUE(decoded.rest.empty());
    EXPECT_EQ(fieldNamed(decoded, "length").integer(), 0x80'0000U + event->contextData.size() - 3);

    const auto expectField = [&](const auto& field) {
        SCOPED_TRACE(field.layout.name);
        const DecodedField& found = fieldNamed(decoded, field.layout.name);
        if constexpr (std::is_same_v<decltype(field.source), std::nullptr_t>) {
            expectValue(found, field.layout.constant);
        } else {
            expectValue(found, std::invoke(field.source, input));
        }
    };
    std::apply([&](const auto&... fields) { (expectField(fields), ...); }, TypeParam::kLayout.fields);
}

TEST(EventDecoder, AnyBytesOfAnyLengthAreReadAsFarAsTheyGo)
{
    std::mt19937 random{1};
    std::unique_ptr<std::uint8_t[]> memory;
    for (const auto& event : event_catalogue::events()) {
        for (std::size_t length = 0; length <= event.contextDataSize + 3U; ++length) {
            Bytes bytes(length);
            std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random()); });

            const auto decoded = decodeContext(event.eventId, exactCopy(memory, bytes));

            EXPECT_EQ(decoded.missing, length < event.contextDataSize ? event.contextDataSize - length : 0U);
            const std::size_t described = event.fields.empty() ? 0 : event.contextDataSize;
            EXPECT_EQ(decoded.rest.size(), length > described ? length - described : 0U);
            ASSERT_EQ(decoded.fields.size(), event.fields.size());
            for (const DecodedField& field : decoded.fields) {
                const SFieldLayout& layout = field.layout();
                const bool isCut = length < std::size_t{layout.offset} + layout.width;
                EXPECT_EQ(field.isCut(), isCut);
                EXPECT_EQ(field.bytes().size(), isCut ? 0U : layout.width);
                EXPECT_LE(field.text().size(), field.bytes().size());
                if (isCut) {
                    EXPECT_EQ(field.integer(), 0U);
                    EXPECT_EQ(field.time(), STimestamp{});
                }
            }
        }
    }
}

TEST(EventDecoder, UnknownAndUndescribedEventsAreAllRest)
{
    const Bytes bytes = counting(1, 11);
    const auto unknown = decodeContext(0xD703, bytes);
    EXPECT_EQ(unknown.event, nullptr);
    EXPECT_TRUE(unknown.fields.empty());
    EXPECT_EQ(unknown.rest.size(), bytes.size());

    const auto undescribed = decodeContext(0x002E, bytes);
    ASSERT_NE(undescribed.event, nullptr);
    EXPECT_TRUE(undescribed.event->name.empty());
    EXPECT_EQ(undescribed.missing, 0U);
    EXPECT_EQ(undescribed.rest.size(), bytes.size());
}

TEST(EventDecoder, TextEndsAtItsPaddingAndDashesMeanNone)
{
    constexpr SFieldLayout text{"text", 0, 4, EFieldKind::text};
    constexpr SFieldLayout characters{"characters", 0, 4, EFieldKind::characters};
    const auto read = [](const SFieldLayout& layout, const Bytes& bytes) { return DecodedField{layout, bytes}.text(); };

    EXPECT_EQ(read(text, {'a', 'b', 0, 0}), "ab");
    EXPECT_EQ(read(text, {'a', 0, 'b', 0}), (std::string{'a', 0, 'b'}));
    EXPECT_EQ(read(text, {'a', 'b', 'c', 'd'}), "abcd");
    EXPECT_EQ(read(text, {0, 0, 0, 0}), "");
    EXPECT_EQ(read(text, {'-', '-', '-', '-'}), "");
    EXPECT_EQ(read(text, {'-', '-', 0, 0}), "--");
    EXPECT_EQ(read(characters, {'-', '-', '-', '-'}), "----");
}

TEST(EventDecoder, FrameHeaderGivesEveryBitToItsField)
{
    EXPECT_EQ(decodeFrameHeader(Bytes{0x13, 0x0C, 0x40, 0xD7, 0x01, 0x00, 0x01, 0x00}),
              (SFrameHeader{.hasTimestamp = true, .hasContextData = true, .idsmInstanceId = 49, .eventId = 0xD701}));
    EXPECT_EQ(decodeFrameHeader(Bytes{0xA6, 0x80, 0x6A, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xFF}),
              (SFrameHeader{.protocolVersion = 10,
                            .reservedFlags = 1,
                            .hasTimestamp = true,
                            .hasContextData = false,
                            .idsmInstanceId = 0x201,
                            .sensorInstanceId = 0x2A,
                            .eventId = 0x1234,
                            .count = 0x5678,
                            .reserved = 0x9A}));

    const Bytes frame{0x5D, 0xFF, 0xC5, 0x12, 0x34, 0x56, 0x78, 0x9A};
    const auto valueOf = [&frame](std::string_view name) {
        const auto fields = event_catalogue::frameHeaderFields();
        return DecodedField{*std::ranges::find(fields, name, &SFieldLayout::name), frame}.integer();
    };
    EXPECT_EQ(valueOf("protocolVersion"), 5U);
    EXPECT_EQ(valueOf("reservedFlags"), 3U);
    EXPECT_EQ(valueOf("timestampFlag"), 0U);
    EXPECT_EQ(valueOf("contextDataFlag"), 1U);
    EXPECT_EQ(valueOf("idsmInstanceId"), 0x3FFU);
    EXPECT_EQ(valueOf("sensorInstanceId"), 5U);
    EXPECT_EQ(valueOf("eventId"), 0x1234U);
}

TEST(EventDecoder, ShortFramesAndTimestampsAreRefused)
{
    std::unique_ptr<std::uint8_t[]> memory;
    for (std::size_t length = 0; length < 8; ++length) {
        EXPECT_EQ(decodeFrameHeader(exactCopy(memory, Bytes(length))), std::nullopt);
        EXPECT_EQ(decodeTimestamp(exactCopy(memory, Bytes(length))), std::nullopt);
    }
    EXPECT_EQ(decodeTimestamp(Bytes{0x1B, 0x2E, 0x02, 0x00, 0x65, 0x53, 0xF1, 0x7B}),
              (STimestamp{.nanoseconds = 456'000'000, .seconds = 1'700'000'123}));
}

TEST(EventCatalogue, NamesAreUniqueWithinAnEventAndAmongEvents)
{
    std::set<std::string_view> eventNames;
    std::size_t described = 0;
    for (const auto& event : event_catalogue::events()) {
        std::set<std::string_view> fieldNames;
        for (const SFieldLayout& field : event.fields) {
            EXPECT_TRUE(fieldNames.insert(field.name).second) << event.name << "." << field.name;
        }
        described += event.fields.empty() ? 0 : 1;
        eventNames.insert(event.name);
    }
    EXPECT_EQ(event_catalogue::events().size(), 31U);
    EXPECT_EQ(described, 17U);
    EXPECT_EQ(eventNames.size(), 18U) << "17 names and the empty one";
}

} // namespace
