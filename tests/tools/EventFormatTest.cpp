#include <algorithm>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <set>

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

constexpr std::uint64_t kTime = 1'700'000'123'456;
const Bytes kSource{0xFD, 0x53, 0x01, 0xD5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x10};
const Bytes kDestination{0xFD, 0x53, 0x01, 0xD5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

/// An event as the daemon reports it.
template <typename Record>
util::SharedPtr<SecEvent> eventOf(const typename Record::Input& input, std::uint64_t time = kTime)
{
    const auto event = ids::event_factory::createEvent<Record>(input);
    ids::stamp(event->timestamp, time);
    return payload(event->eventId, event->eventFrame, event->timestamp, event->contextData);
}

ids::SFirewallStatistics drop(std::uint16_t group)
{
    ids::SFirewallStatistics drop;
    drop.sourceAddress = kSource;
    drop.sourcePort = 35797;
    drop.destinationAddress = kDestination;
    drop.destinationPort = 161;
    drop.groupNumber = group;
    drop.reservedBytes2 = {0xAB};
    drop.time = kTime;
    return drop;
}

util::SharedPtr<SecEvent> statistics()
{
    return eventOf<ids::SEvent_Firewall_Statistics>(drop(0));
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
    EXPECT_EQ(object["fields"]["sourceAddress"], "fd53:1d5::10");
    EXPECT_EQ(object["fields"]["interfaceName"], "eth0.connect");
    EXPECT_EQ(object["fields"]["time"]["seconds"], 1'700'000'123);
    EXPECT_EQ(object["fieldBytes"]["length"], "8000c5");
}

TEST(EventFormatTest, OneLineShowsWhatMattersOfEachEvent)
{
    using namespace ids;
    const std::string route = "[fd53:1d5::10]:35797 > [fd53:1d5::1]:161";
    const std::vector<std::pair<util::SharedPtr<SecEvent>, std::string>> cases{
        {eventOf<SEvent_KeepAlive>(7), "0x8000  keep-alive    number 7"},
        {eventOf<SEvent_Firewall_DropInvPortTCP>(drop(29)), "0x000B  tcp port      " + route + " tcp group 29"},
        {eventOf<SEvent_Firewall_DropInvPortUDP>(drop(30)), "0x000C  udp port      " + route + " udp group 30"},
        {eventOf<SEvent_Firewall_DropInvIpv6Address>(drop(32)), "0x000E  bad address   " + route + " group 32"},
        {eventOf<SEvent_Firewall_DataDefinitionL3CheckFailed>(drop(9)), "0x9701  l3 check      " + route},
        {eventOf<SEvent_Firewall_UnallowedL4Protocol>(drop(12)), "0x9704  l4 protocol   " + route},
        {eventOf<SEvent_Firewall_MaxMsgSizeExceeded>(drop(17)), "0x9709  too long      " + route},
        {eventOf<SEvent_Firewall_BlockedConnections>(drop(9)), "0x9712  blocked       " + route + " group 9"},
        {statistics(), "0x9711  statistics    1 dropped in 10 s"},
        {eventOf<SEvent_ResourceConsumption>({.cpuUsage = 47.6, .id = 3245, .name = "sh", .ramUsage = 3277}),
         "0xD701  process       sh (3245) cpu 48 % user, 0 % system, ram 3.2 MiB"},
        {eventOf<SEvent_ApnConfigChange>({.name = "nad"}), "0xD705  apn change    nad (no process)"},
        {eventOf<SEvent_ServiceListChange>({.kind = 1, .services = "era;mqtt"}),
         "0xD016  services      added era;mqtt"},
        {eventOf<SEvent_ServiceListChange>({}), "0xD016  services      removed nothing"},
        {eventOf<SEvent_TeeInvocation>({"OP-TEE", "unit-keystore"}),
         "0xD015  tee use       unit-keystore used OP-TEE, code 0"},
        {eventOf<SEvent_VkmsNoKeysAvailable>(12'345), "0xD00E  no keys       12345 ms after boot"},
        {eventOf<SEvent_FailServiceDiscovery>({"no answer", {}, kSource, "unit.telematics"}),
         "0xD006  no service    query by unit.telematics at fd53:1d5::10: \"no answer\""},
        {eventOf<SEvent_FailTlsHandshake>({443, kSource, 40100, 1, {}, {}, 0, "TCP", kDestination, "unit.gateway"}),
         "0xD012  tls failure   [fd53:1d5::10]:40100 > [fd53:1d5::1]:443 TCP unit.gateway"},
        {eventOf<SEvent_ExtConnUnsuccessful>({0, {}, 1, "x [unknown ID]\n"}),
         "0xE901  connect fail  wlan \"x [unknown ID]\\n\" code 1"},
        {eventOf<SEvent_ExtConnUnsuccessful>({4, {2, 0xA1}, 0, {}}),
         "0xE901  connect fail  cellular 02:a1:00:00:00:00 code 0"}};
    LineFormat format{{}};
    std::set<std::uint16_t> shown;
    for (const auto& [event, text] : cases) {
        EXPECT_EQ(format({event, true}), (shown.empty() ? "2023-11-14 UTC\n" : "") + ("22:15:23.456  " + text + '\n'));
        shown.insert(event->eventId);
    }
    for (const auto& event : event_catalogue::events()) {
        EXPECT_TRUE(event.name.empty() || shown.contains(event.eventId)) << event.name;
    }
}

TEST(EventFormatTest, OneLineShowsWhatIsKnownOfOtherDomains)
{
    LineFormat format{{}};
    EXPECT_EQ(format({eventOf<ids::SEvent_KeepAlive>(7, 0), true}), "no time       0x8000  keep-alive    number 7\n");
    auto event = eventOf<ids::SEvent_KeepAlive>(7);
    event->eventFrame->at(2) = 0x80;
    EXPECT_EQ(format({event, true}),
              "22:15:23.456  0x8000  keep-alive    2023-11-14 raw instance 50, 7 bytes: number 7\n");
    event = payload(0, {0x13, 0x0C, 0xC0, 0xC0, 0x10, 0, 1, 0}, Bytes(8), Bytes(2));
    EXPECT_EQ(format({event, true}),
              "no time       0x0000  SOME/IP       instance 51, 2 bytes: 0000  [frame ID 0xC010]\n");
    event->eventFrame->assign(8, 0); // any domain may send this
    EXPECT_EQ(format({event, true}), "no time       0x0000  other domain  instance 0, 2 bytes: 0000  [unknown ID]\n");
}

TEST(EventFormatTest, LinesFillTheWidthAndLongOnesAreIndented)
{
    LineFormat format{{.colour = true}};
    format.setWidth(110);
    EXPECT_EQ(format({payload(0xD008, {}, Bytes(8), Bytes(31, 0xAB)), true}),
              "\033[2mno time     \033[0m  \033[35m0xD008  other domain\033[0m  31 bytes: abababababababa...  "
              "\033[31m[context data cut: 31 of 32 bytes; no frame]\033[0m\n");
    EXPECT_THAT((LineFormat{{.hex = true, .isLong = true}}({statistics(), true})),
                testing::MatchesRegex(
                    "2023-11-14T22:15:23.456Z  0x9711  Firewall_Statistics\n    length=8388805 [^\n]* reserved3=0\n"
                    "    time=2023-11-14T22:15:23.456Z [^\n]* reserved9=0\n(    [^\n]{0,96}\n)*"
                    "    [^\n]* reservedTail=4\n    frame 130c409711000100 timestamp 1b2e02006553f17b context\n"
                    "(    [0-9a-f]{96}\n)*    [0-9a-f]*\n"));
}

TEST(EventFormatTest, OfCutBlocksAllWholeFieldsAreShownAndNoByteBreaksTheLine)
{
    const auto isBreaking = [](unsigned char byte) { return byte < ' ' || byte > '~'; };
    LineFormat format{{}};
    for (const auto& event : ids::event_catalogue::events()) {
        for (std::size_t size = 0; size <= event.contextDataSize + 1U; ++size) {
            const auto fill = Bytes{0x00, 0x1B, '"', 0x9B, 0xFF}[size % 5];
            const Bytes block(size % 12, fill);
            const ReceivedEvent received{payload(event.eventId, block, block, Bytes(size, fill)), true};
            const auto text = JsonFormat{{.fieldBytes = true}}(received);
            const auto line = format(received);
            ASSERT_EQ(std::ranges::count_if(text + line, isBreaking), 2);
            ASSERT_LE(line.size(), 101);
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
    EXPECT_THAT(LineFormat{{}}({payload(1, {}, {}, {}), true}), HasSubstr("[unknown ID; no frame; no timestamp]\n"));
    EXPECT_THAT(LineFormat{{}}({nullptr, false}), HasSubstr("[no payload; marked as not valid]\n"));
    const auto event = statistics();
    event->eventId = 1;
    EXPECT_EQ(ReceivedEvent(event, true).note(), "unknown ID; frame ID 0x9711");
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
