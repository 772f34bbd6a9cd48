#include <algorithm>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "JsonFormat.h"
#include "LineFormat.h"
#include "event_factory.h"

namespace {

using namespace core_monitor;
using asi::connectivity::idscore::SecEvent;
using testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

util::SharedPtr<SecEvent> payload(std::uint16_t id, const Bytes& frame, const Bytes& timestamp, const Bytes& context)
{
    return std::make_shared<SecEvent>(SecEvent{std::make_shared<Bytes>(context), std::make_shared<Bytes>(frame), id,
                                               std::make_shared<Bytes>(timestamp)});
}

/// A firewall drop as the daemon reports it.
util::SharedPtr<SecEvent> statistics()
{
    ids::SFirewallStatistics drop;
    drop.sourceAddress = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    drop.reservedBytes2 = {0xAB};
    drop.time = 1'700'000'123'456;
    const auto event = ids::event_factory::createEvent<ids::SEvent_Firewall_Statistics>(drop);
    ids::stamp(event->timestamp, drop.time);
    return payload(event->eventId, event->eventFrame, event->timestamp, event->contextData);
}

TEST(EventFormatTest, FrameTimestampAndEveryKindOfFieldAreShownAsWhatTheyAre)
{
    const auto object = nlohmann::json::parse(JsonFormat{{.fieldBytes = true}}({statistics(), true}));
    EXPECT_EQ(object["frame"],
              R"({"protocolVersion": 1, "reservedFlags": 0, "timestampFlag": true,
        "contextDataFlag": true, "idsmInstanceId": 49, "sensorInstanceId": 0, "eventId": "0x9711", "count": 1,
        "reserved": 0, "hex": "130c409711000100"})"_json);
    EXPECT_EQ(object["timestamp"]["utc"], "2023-11-14T22:15:23.456000000Z");
    EXPECT_EQ(object["fields"]["packetCount"], 1);
    EXPECT_EQ(object["fields"]["sourceAddress"], "2001:db8::1");
    EXPECT_EQ(object["fields"]["interfaceName"], "eth0.connect");
    EXPECT_EQ(object["fields"]["time"]["seconds"], 1'700'000'123);
    EXPECT_EQ(object["fieldBytes"]["length"], "8000c5");
    const auto lines = LineFormat{{.hex = true}}({statistics(), true});
    EXPECT_THAT(lines, HasSubstr(" packetCount=1 time=2023-11-14T22:15:23.456Z groupNumber=0 "
                                 "interfaceName=\"eth0.connect\" sourceAddress=2001:db8::1 "));
    EXPECT_THAT(lines, testing::ContainsRegex("reservedBytes2=ab0{10}\n +frame 130c409711000100  timestamp 1b2e0200"));
}

TEST(EventFormatTest, OfCutBlocksAllWholeFieldsAreShownAndNoByteBreaksTheLine)
{
    const auto isBreaking = [](unsigned char byte) { return byte < ' ' || byte > '~'; };
    for (const auto& event : ids::event_catalogue::events()) {
        for (std::size_t size = 0; size <= event.contextDataSize + 1U; ++size) {
            const auto fill = Bytes{0x00, 0x1B, '"', 0x9B, 0xFF}[size % 5];
            const Bytes block(size % 12, fill);
            const ReceivedEvent received{payload(event.eventId, block, block, Bytes(size, fill)), true};
            const auto text = JsonFormat{{.fieldBytes = true}}(received);
            ASSERT_EQ(std::ranges::count_if(text + LineFormat{{}}(received), isBreaking), 2);
            const auto object = nlohmann::json::parse(text);
            ASSERT_EQ(object["frame"].contains("count"), block.size() >= 8) << size;
            for (const auto& field : event.fields) {
                ASSERT_EQ(object["fields"].contains(field.name), field.offset + field.width <= size) << field.name;
            }
            const auto sizes = std::to_string(size) + " of " + std::to_string(event.contextDataSize) + " bytes";
            ASSERT_EQ(object.value("note", "").find(sizes) != std::string::npos,
                      size > 0 && size != event.contextDataSize);
        }
    }
}

TEST(EventFormatTest, WhatIsAbsentOrContradictsItselfIsNoted)
{
    EXPECT_EQ(ReceivedEvent(payload(0x000B, {}, {}, {}), true).note(), "no context data; no frame; no timestamp");
    EXPECT_THAT(LineFormat{{}}({payload(0, {}, {}, {}), true}), HasSubstr("[unknown ID; no frame; no timestamp]\n"));
    EXPECT_THAT(LineFormat{{}}({nullptr, false}), HasSubstr("[no payload; marked as not valid]\n"));
    const auto event = statistics();
    event->eventId = 0;
    EXPECT_EQ(ReceivedEvent(event, true).note(), "unknown ID; the frame says 0x9711");
}

TEST(EventFormatTest, WhatTheDaemonWouldNotFrameLikeThisIsRaw)
{
    for (std::size_t bit = 0; bit < 64; ++bit) {
        const auto event = statistics();
        (*event->eventFrame)[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        EXPECT_TRUE(ReceivedEvent(event, true).isRaw) << "bit " << bit;
    }
    const auto event = statistics();
    EXPECT_FALSE(ReceivedEvent(event, true).isRaw);
    event->contextData->pop_back();
    EXPECT_TRUE(ReceivedEvent(event, true).isRaw);
    const Bytes withoutType{0x13, 0x0C, 0x40, 0x00, 0x2E, 0x00, 0x01, 0x00};
    EXPECT_TRUE(ReceivedEvent(payload(0x002E, withoutType, Bytes(8), Bytes(11)), true).isRaw);
}

} // namespace
