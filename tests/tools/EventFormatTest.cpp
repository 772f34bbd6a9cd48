#include <algorithm>
#include <array>
#include <cctype>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "JsonFormat.h"
#include "LineFormat.h"
#include "event_factory.h"

namespace {

using namespace core_monitor;
using asi::connectivity::idscore::SecEvent;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using Bytes = std::vector<std::uint8_t>;

// 1,700,000,123,456 ms
const Bytes kTime{0x1B, 0x2E, 0x02, 0x00, 0x65, 0x53, 0xF1, 0x7B};
constexpr char kUtc[] = "2023-11-14T22:15:23.456000000Z";

util::SharedPtr<SecEvent> payload(std::uint16_t id, Bytes frame, Bytes timestamp, Bytes context)
{
    const auto event = std::make_shared<SecEvent>();
    event->eventId = id;
    event->eventFrame = std::make_shared<Bytes>(std::move(frame));
    event->timestamp = std::make_shared<Bytes>(std::move(timestamp));
    event->contextData = std::make_shared<Bytes>(std::move(context));
    return event;
}

template <typename RecordT>
util::SharedPtr<SecEvent> made(const typename RecordT::Input& input)
{
    const auto event = ids::event_factory::createEvent<RecordT>(input);
    return payload(event->eventId, event->eventFrame, kTime, event->contextData);
}

util::SharedPtr<SecEvent> keepAlive()
{
    return made<ids::SEvent_KeepAlive>(5);
}

json jsonOf(const util::SharedPtr<SecEvent>& event, JsonFormat::Style style = {})
{
    return json::parse(JsonFormat{style}(ReceivedEvent{event, true}));
}

std::string lineOf(const util::SharedPtr<SecEvent>& event, LineFormat::Style style = {})
{
    return LineFormat{style}(ReceivedEvent{event, true});
}

bool isOnePrintableLine(const std::string& line)
{
    return line.ends_with('\n') && std::all_of(line.begin(), line.end() - 1, [](unsigned char byte) {
               return byte < 0x80 && std::isprint(byte) != 0;
           });
}

TEST(EventFormatTest, JsonHoldsFrameTimestampAndFieldsDecodedAndAsBytes)
{
    const json expected = {
        {"id", "0x8000"},
        {"name", "KeepAlive"},
        {"raw", false},
        {"frame",
         {{"protocolVersion", 1},
          {"reservedFlags", 0},
          {"timestampFlag", true},
          {"contextDataFlag", true},
          {"idsmInstanceId", 49},
          {"sensorInstanceId", 0},
          {"eventId", "0x8000"},
          {"count", 1},
          {"reserved", 0},
          {"hex", "130c408000000100"}}},
        {"timestamp",
         {{"nanoseconds", 456'000'000}, {"seconds", 1'700'000'123}, {"utc", kUtc}, {"hex", "1b2e02006553f17b"}}},
        {"contextData", "80000400000005"},
        {"fields", {{"length", 0x800004}, {"counter", 5}}},
        {"fieldBytes", {{"length", "800004"}, {"counter", "00000005"}}}};
    EXPECT_EQ(jsonOf(keepAlive(), {.fieldBytes = true}), expected);
    EXPECT_FALSE(jsonOf(keepAlive()).contains("fieldBytes"));
}

TEST(EventFormatTest, EveryKindOfFieldIsShownAsWhatItIs)
{
    ids::SFirewallStatistics statistics;
    statistics.sourceAddress = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    statistics.sourcePort = 40000;
    statistics.groupTag = "";
    statistics.reservedBytes2 = {0xAB};
    statistics.time = 1'700'000'123'456;
    const auto event = made<ids::SEvent_Firewall_Statistics>(statistics);
    const auto fields = jsonOf(event)["fields"];
    EXPECT_EQ(fields["sourceAddress"], "2001:db8::1");
    EXPECT_EQ(fields["destinationAddress"], "::");
    EXPECT_EQ(fields["sourcePort"], 40000);
    EXPECT_EQ(fields["groupTag"], "");
    EXPECT_EQ(fields["interfaceName"], "eth0.connect");
    EXPECT_EQ(fields["reservedBytes2"], "ab0000000000");
    EXPECT_EQ(fields["time"]["utc"], kUtc);

    const auto line = lineOf(event);
    EXPECT_THAT(line, testing::StartsWith("2023-11-14T22:15:23.456Z  0x9711  Firewall_Statistics  "));
    EXPECT_THAT(line, HasSubstr(" packetCount=1 time=2023-11-14T22:15:23.456Z groupNumber=0 "
                                "interfaceName=\"eth0.connect\" sourceAddress=2001:db8::1 destinationAddress=:: "
                                "protocolName=\"UDP\" sourcePort=40000 destinationPort=0 "
                                "reservedBytes2=ab0000000000\n"));
    EXPECT_THAT(line, Not(HasSubstr("groupTag"))) << "an empty text says nothing";
}

TEST(EventFormatTest, OfACutContextAllWholeFieldsAreShownAndNoByteBreaksTheLine)
{
    for (const auto& event : ids::event_catalogue::events()) {
        for (std::size_t size = 0; size <= event.contextDataSize + 1U; ++size) {
            const auto fill = std::array<std::uint8_t, 5>{0x00, 0x1B, '"', 0x9B, 0xFF}[size % 5];
            const auto received = payload(event.eventId, {}, Bytes(8, fill), Bytes(size, fill));
            const auto text = JsonFormat{{.fieldBytes = true}}({received, true});
            ASSERT_TRUE(isOnePrintableLine(text)) << text;
            ASSERT_TRUE(isOnePrintableLine(lineOf(received)));
            const auto object = json::parse(text);
            ASSERT_EQ(object["contextData"].get<std::string>().size(), 2 * size);
            for (const auto& field : event.fields) {
                ASSERT_EQ(object["fields"].contains(field.name), field.offset + field.width <= size)
                    << event.name << ' ' << field.name << " in " << size;
            }
            const auto sizes = std::to_string(size) + " of " + std::to_string(event.contextDataSize) + " bytes";
            const std::string note = object["note"];
            ASSERT_EQ(note.find("cut: " + sizes) != std::string::npos, size > 0 && size < event.contextDataSize);
            ASSERT_EQ(note.find("too long: " + sizes) != std::string::npos, size > event.contextDataSize);
            ASSERT_EQ(note.find("no context data") != std::string::npos, size == 0);
        }
    }
}

TEST(EventFormatTest, FramesAndTimestampsOfAnyLengthAreShown)
{
    for (std::size_t size = 0; size < 12; ++size) {
        const auto event = payload(0xD703, Bytes(size, 0xA5), Bytes(size, 0xFF), {1, 2});
        const auto object = jsonOf(event);
        EXPECT_EQ(object["frame"].contains("count"), size >= 8) << size;
        EXPECT_EQ(object["timestamp"].contains("utc"), size >= 8) << size;
        EXPECT_EQ(object["timestamp"]["hex"].get<std::string>().size(), 2 * size);
        EXPECT_THAT(object["note"], HasSubstr("unknown ID; "));
        EXPECT_TRUE(isOnePrintableLine(lineOf(event)));
    }
}

TEST(EventFormatTest, AbsentArraysAndAnAbsentPayloadAreShownAsSuch)
{
    const auto bare = std::make_shared<SecEvent>();
    bare->eventId = 0x000B;
    EXPECT_EQ(jsonOf(bare)["note"], "no context data; no frame; no timestamp");
    EXPECT_EQ(jsonOf(nullptr)["note"], "no payload");
    EXPECT_TRUE(jsonOf(nullptr)["id"].is_null());
    EXPECT_THAT(lineOf(bare), HasSubstr("[no context data; no frame; no timestamp]\n"));
    EXPECT_THAT(lineOf(nullptr), HasSubstr("[no payload]\n"));
    EXPECT_THAT(LineFormat{{}}({keepAlive(), false}), HasSubstr("[marked as not valid]\n"));
}

TEST(EventFormatTest, AFrameWithAnotherIdIsNoted)
{
    const auto event = keepAlive();
    event->eventId = 0;
    EXPECT_EQ(jsonOf(event)["note"], "unknown ID; the frame says 0x8000");
}

TEST(EventFormatTest, WhatTheDaemonWouldNotFrameLikeThisIsRaw)
{
    EXPECT_FALSE(ReceivedEvent(keepAlive(), true).isRaw);
    for (std::size_t bit = 0; bit < 64; ++bit) {
        const auto event = keepAlive();
        (*event->eventFrame)[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        EXPECT_TRUE(ReceivedEvent(event, true).isRaw) << "bit " << bit;
    }
    const auto withoutType = keepAlive();
    withoutType->eventId = 0x002E;
    *withoutType->eventFrame = {0x13, 0x0C, 0x40, 0x00, 0x2E, 0x00, 0x01, 0x00};
    withoutType->contextData->resize(11);
    EXPECT_TRUE(ReceivedEvent(withoutType, true).isRaw);
    EXPECT_FALSE(jsonOf(withoutType).contains("note"));
    for (const std::size_t size : {6U, 8U}) {
        const auto event = keepAlive();
        event->contextData->resize(size);
        EXPECT_TRUE(ReceivedEvent(event, true).isRaw);
    }
}

TEST(EventFormatTest, ColourAndBytesAreShownOnlyWhenAskedFor)
{
    EXPECT_THAT(lineOf(keepAlive(), {.colour = true}), HasSubstr("\033[1m0x8000\033[0m"));
    const auto lines = lineOf(keepAlive(), {.hex = true});
    EXPECT_THAT(lines, HasSubstr("frame 130c408000000100  timestamp 1b2e02006553f17b  context 80000400000005\n"));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2);
    EXPECT_TRUE(isOnePrintableLine(lineOf(keepAlive())));
}

} // namespace
