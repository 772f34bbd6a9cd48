#include <cmath>
#include <ctime>
#include <string_view>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "FailingAllocation.h"
#include "KnownEvents.h"
#include "Samples.h"
#include "bootTime.h"
#include "event_factory.h"

namespace {

using namespace ids;
using event_factory::createEvent;
using samples::Bytes;
using samples::counting;
using samples::sample;
using samples::setGnssTime;

Bytes number(std::uint64_t value, unsigned width)
{
    Bytes bytes(width);
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, value >>= 8) {
        *byte = static_cast<std::uint8_t>(value);
    }
    return bytes;
}

Bytes text(std::string_view text, std::size_t width)
{
    Bytes bytes(text.begin(), text.end());
    bytes.resize(width);
    return bytes;
}

Bytes zeros(std::size_t width)
{
    return Bytes(width);
}
Bytes dashes(std::size_t width)
{
    return Bytes(width, '-');
}

/// Puts bytes together front to back, knowing nothing of offsets.
Bytes joined(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

/// The same after the length word and header of context data of that size.
Bytes context(std::uint32_t size, std::initializer_list<Bytes> parts)
{
    return joined({number(0x80'0000 + size - 3, 3), number(1, 4), joined(parts)});
}

const Bytes kSource = counting(0x10, 16);
const Bytes kDestination = counting(0x30, 16);
const Bytes kTime = {0, 0, 0x1B, 0x2E, 0x02, 0x00, 0x65, 0x53, 0xF1, 0x7B}; // of 1,700,000,123,456 ms

const Bytes kDrop = context(
    53, {number(0x1001, 2), kSource, number(0x1C10'1C11, 4), kDestination, number(0x1304'1305, 4), number(0x1A0D, 4)});

template <typename RecordT>
const Bytes kContext;

template <>
const Bytes kContext<SEvent_KeepAlive> = joined({number(0x80'0004, 3), number(0xA1B2C3D4, 4)});

template <>
const Bytes kContext<SEvent_VkmsNoKeysAvailable> = context(17, {zeros(6), number(0xA1B2C3D4, 4)});

template <>
const Bytes kContext<SEvent_ApnConfigChange> = context(56, {text("telematics", 46), number(0xA1B2C3, 3)});

template <>
const Bytes kContext<SEvent_ResourceConsumption> = context(46, {number(4661, 2), zeros(6), number(0xA1B2C3, 3),
                                                                text("telematics", 24), number(0xBEEF, 2),
                                                                number(22136, 2)});

template <>
const Bytes kContext<SEvent_ServiceListChange> = context(146, {number(0x5A, 1), text("voice,hotspot", 128), kTime});

template <>
const Bytes kContext<SEvent_TeeInvocation> = context(78,
                                                     {number(6, 2), text("OP-TEE", 24), number(11, 2),
                                                      text("key_manager", 24), number(0xC0DE, 3), text("slot 3", 16)});

template <>
const Bytes kContext<SEvent_FailServiceDiscovery> = context(208, {number(0x5A, 1), text("navigation", 24),
                                                                  counting(0x80, 80), kSource, text("no offer", 80)});

template <>
const Bytes kContext<SEvent_FailTlsHandshake> = context(87, {counting(0x50, 3), counting(0x60, 3), kSource,
                                                             kDestination, text("TCP", 8), number(0x5678, 2),
                                                             number(0x1234, 2), text("backend", 24),
                                                             number(0xDEAD'BEEF, 4), number(0x9ABC, 2)});

template <>
const Bytes kContext<SEvent_ExtConnUnsuccessful> = context(42, {number(0x5A, 1), counting(0x10, 6),
                                                                number(0xDEAD'BEEF, 4), text("wlan0", 24)});

template <>
const Bytes kContext<SEvent_Firewall_DropInvIpv6Address> = kDrop;

template <>
const Bytes kContext<SEvent_Firewall_DropInvPortTCP> = kDrop;

template <>
const Bytes kContext<SEvent_Firewall_DropInvPortUDP> = kDrop;

template <>
const Bytes kContext<SEvent_Firewall_DataDefinitionL3CheckFailed> = context(
    51, {number(0x1102, 2), number(0x1001, 2), kSource, kDestination, number(0x1C10'1C11, 4), number(0x1304'1305, 4)});

template <>
const Bytes kContext<SEvent_Firewall_MaxMsgSizeExceeded> = context(66, {number(0x1001, 2), kSource, kDestination,
                                                                        text("TCP", 16), number(0x1C10'1C11, 4),
                                                                        number(0x1304'1305, 4), number(0x17, 1)});

template <>
const Bytes kContext<SEvent_Firewall_UnallowedL4Protocol> = context(132, {number(0x1001, 2), kSource, kDestination,
                                                                          text("TCP", 16), number(0x1C10'1C11, 4),
                                                                          number(0x1304'1305, 4), number(0x0A, 1),
                                                                          counting(0x90, 64), number(0x1507, 2)});

template <>
const Bytes kContext<SEvent_Firewall_BlockedConnections> =
    context(342, {number(0x1B0E'1B0F, 4), number(0x1507, 2),        kTime,
                  number(0x1A0D, 2),      text("INV_PORT_TCP", 24), text("text one", 64),
                  number(0x180A, 2),      number(0x1E13, 2),        number(0x1101'1102, 4),
                  text("eth1", 64),       text("text zero", 64),    kSource,
                  kDestination,           text("TCP", 16),          number(0x1C10'1C11, 4),
                  number(0x1304'1305, 4), text("text three", 16),   text("text two", 16),
                  number(0x190B'190C, 4), number(0x03, 1)});

template <>
const Bytes kContext<SEvent_Firewall_Statistics> = context(
    200,
    {number(1, 1),           number(0x1203, 2),        number(0x1D12, 2),      number(0x1507, 2), kTime,
     number(0x1A0D, 2),      text("INV_PORT_TCP", 16), text("text one", 24),   number(0x180A, 2), number(0x1E13, 2),
     number(0x1101'1102, 4), text("eth1", 24),         text("text zero", 24),  kSource,           kDestination,
     text("TCP", 24),        number(0x1C10'1C11, 4),   number(0x1304'1305, 4), counting(0x70, 6), counting(0x60, 6),
     number(0x1F15, 2)});

template <typename RecordT>
class EveryEvent : public testing::Test
{};

TYPED_TEST_SUITE(EveryEvent, samples::RecordTypes, samples::RecordNames);

TYPED_TEST(EveryEvent, HasItsBytes)
{
    setGnssTime(1'700'000'123'456);
    const auto event = createEvent<TypeParam>(sample<typename TypeParam::Input>());

    const auto idHigh = static_cast<std::uint8_t>(TypeParam::kEventId >> 8);
    const auto idLow = static_cast<std::uint8_t>(TypeParam::kEventId);
    EXPECT_EQ(event->eventFrame, (Bytes{0x13, 0x0C, 0x40, idHigh, idLow, 0x00, 0x01, 0x00}));
    EXPECT_EQ(event->timestamp, (Bytes{0x1B, 0x2E, 0x02, 0x00, 0x65, 0x53, 0xF1, 0x7B}));
    EXPECT_EQ(event->eventId, TypeParam::kEventId);
    EXPECT_EQ(event->contextData, kContext<TypeParam>);
}

TYPED_TEST(EveryEvent, IsEmptyAndLoggedWhenAnyOfItsAllocationsFails)
{
    const auto input = sample<typename TypeParam::Input>();
    for (unsigned succeeding = 0; succeeding < 4; ++succeeding) {
        const test_support::CapturedLog log;
        std::shared_ptr<SEvent> event;
        {
            const test_support::FailingAllocation failing{test_support::FailingAllocation::Kind::throwing, 1,
                                                          succeeding};
            event = createEvent<TypeParam>(input);
        }
        EXPECT_EQ(event, nullptr);
        EXPECT_EQ(log.count("CON_IDS_EVENT", tracing::Level::error, "ids::event_factory::createEvent("), 1U);
        EXPECT_EQ(log.count("CON_IDS_EVENT", tracing::Level::error, "): Can't create event structure!"), 1U);
    }
}

template <typename RecordT>
void expectIdentity(std::uint16_t eventId, std::string_view name)
{
    EXPECT_EQ(RecordT::kEventId, eventId) << name;
    EXPECT_EQ(RecordT::kLayout.name, name);
}

TEST(EventRecords, RecordTypesHaveTheirIdsAndNames)
{
    expectIdentity<SEvent_Firewall_DropInvPortTCP>(0x000B, "Firewall_DropInvPortTCP");
    expectIdentity<SEvent_Firewall_DropInvPortUDP>(0x000C, "Firewall_DropInvPortUDP");
    expectIdentity<SEvent_Firewall_DropInvIpv6Address>(0x000E, "Firewall_DropInvIpv6Address");
    expectIdentity<SEvent_KeepAlive>(0x8000, "KeepAlive");
    expectIdentity<SEvent_Firewall_DataDefinitionL3CheckFailed>(0x9701, "Firewall_DataDefinitionL3CheckFailed");
    expectIdentity<SEvent_Firewall_UnallowedL4Protocol>(0x9704, "Firewall_UnallowedL4Protocol");
    expectIdentity<SEvent_Firewall_MaxMsgSizeExceeded>(0x9709, "Firewall_MaxMsgSizeExceeded");
    expectIdentity<SEvent_Firewall_Statistics>(0x9711, "Firewall_Statistics");
    expectIdentity<SEvent_Firewall_BlockedConnections>(0x9712, "Firewall_BlockedConnections");
    expectIdentity<SEvent_FailServiceDiscovery>(0xD006, "FailServiceDiscovery");
    expectIdentity<SEvent_VkmsNoKeysAvailable>(0xD00E, "VkmsNoKeysAvailable");
    expectIdentity<SEvent_FailTlsHandshake>(0xD012, "FailTlsHandshake");
    expectIdentity<SEvent_TeeInvocation>(0xD015, "TeeInvocation");
    expectIdentity<SEvent_ServiceListChange>(0xD016, "ServiceListChange");
    expectIdentity<SEvent_ResourceConsumption>(0xD701, "ResourceConsumption");
    expectIdentity<SEvent_ApnConfigChange>(0xD705, "ApnConfigChange");
    expectIdentity<SEvent_ExtConnUnsuccessful>(0xE901, "ExtConnUnsuccessful");
}

TEST(EventRecords, KeepAliveAndResourceConsumptionByteByByte)
{
    EXPECT_EQ(createEvent<SEvent_KeepAlive>(5)->eventFrame, (Bytes{0x13, 0x0C, 0x40, 0x80, 0x00, 0x00, 0x01, 0x00}));
    EXPECT_EQ(createEvent<SEvent_KeepAlive>(5)->contextData, (Bytes{0x80, 0x00, 0x04, 0x00, 0x00, 0x00, 0x05}));

    const SProcess nad{.cpuUsage = 12.5, .systemCpuUsage = 3.9, .id = 1234, .name = "nad", .ramUsage = 2048};
    Bytes expected{0x80, 0x00, 0x2B, 0x00, 0x00, 0x00, 0x01, 0x00, 0x0D, 0,  0,
                   0,    0,    0,    0,    0x00, 0x04, 0xD2, 'n',  'a',  'd'};
    expected.resize(expected.size() + 21);
    expected.insert(expected.end(), {0x08, 0x00, 0x00, 0x03});
    EXPECT_EQ(createEvent<SEvent_ResourceConsumption>(nad)->contextData, expected);
}

TEST(EventRecords, EmptyTextsAreDashesAndEmptyBytesAreZeros)
{
    const auto empty = [](auto record, const Bytes& expected) {
        using RecordT = typename decltype(record)::type;
        EXPECT_EQ(createEvent<RecordT>({})->contextData, expected) << RecordT::kLayout.name;
    };
    empty(std::type_identity<SEvent_ApnConfigChange>{}, context(56, {dashes(46), zeros(3)}));
    empty(std::type_identity<SEvent_ResourceConsumption>{}, context(46, {zeros(11), dashes(24), zeros(4)}));
    empty(std::type_identity<SEvent_ServiceListChange>{}, context(146, {zeros(1), dashes(128), zeros(10)}));
    empty(std::type_identity<SEvent_TeeInvocation>{},
          context(78, {zeros(2), dashes(24), zeros(2), dashes(24), zeros(3), dashes(16)}));
    empty(std::type_identity<SEvent_FailServiceDiscovery>{}, context(208, {zeros(1), dashes(24), zeros(176)}));
    empty(std::type_identity<SEvent_FailTlsHandshake>{},
          context(87, {zeros(38), dashes(8), zeros(4), dashes(24), zeros(6)}));
    empty(std::type_identity<SEvent_ExtConnUnsuccessful>{}, context(42, {zeros(11), dashes(24)}));

    SFirewallStatistics drop;
    drop.packetCount = 0;
    drop.interfaceName.clear();
    drop.protocolName.clear();
    drop.time = 0;
    EXPECT_EQ(createEvent<SEvent_Firewall_MaxMsgSizeExceeded>(drop)->contextData,
              context(66, {zeros(34), dashes(16), zeros(9)}));
    EXPECT_EQ(createEvent<SEvent_Firewall_UnallowedL4Protocol>(drop)->contextData,
              context(132, {zeros(34), dashes(16), zeros(75)}));
    EXPECT_EQ(createEvent<SEvent_Firewall_BlockedConnections>(drop)->contextData,
              context(342, {zeros(18), dashes(24), zeros(72), dashes(128), zeros(32), dashes(16), zeros(8), dashes(32),
                            zeros(5)}));
}

TEST(EventRecords, ContentTooLongIsCutAtTheFieldAndShortBytesLeaveZeros)
{
    const std::string name = "abcdefghijklmnopqrstuvwxyz0123"; // 30 characters
    EXPECT_EQ(createEvent<SEvent_ResourceConsumption>({.name = name})->contextData,
              (context(46, {zeros(11), text(name.substr(0, 24), 24), zeros(4)})));
    EXPECT_EQ(createEvent<SEvent_ApnConfigChange>({.name = name})->contextData,
              (context(56, {text(name, 46), zeros(3)})));
    EXPECT_EQ(createEvent<SEvent_TeeInvocation>({.teeName = name, .appName = name})->contextData,
              (context(78, {number(24, 2), text(name.substr(0, 24), 24), number(24, 2), text(name.substr(0, 24), 24),
                            zeros(3), dashes(16)})));

    const SServiceDiscoveryFailure failure{.errorText = std::string(200, 'e'),
                                           .detailBytes = counting(0, 200),
                                           .queryingAddress = counting(0x20, 4),
                                           .queryingService = std::string(200, 's')};
    EXPECT_EQ(createEvent<SEvent_FailServiceDiscovery>(failure)->contextData,
              (context(208, {zeros(1), text(std::string(24, 's'), 24), counting(0, 80), counting(0x20, 4), zeros(12),
                             text(std::string(80, 'e'), 80)})));
}

TEST(EventRecords, CpuSharesAreRoundedAndTruncatedAndSaturate)
{
    const auto shares = [](double share) {
        const auto event = createEvent<SEvent_ResourceConsumption>({.cpuUsage = share, .systemCpuUsage = share});
        const Bytes& data = event->contextData;
        return std::pair{data[7] << 8 | data[8], data[44] << 8 | data[45]};
    };
    EXPECT_EQ(shares(0.49999999999999994), (std::pair{0, 0}));
    EXPECT_EQ(shares(0.5), (std::pair{1, 0}));
    EXPECT_EQ(shares(2.5), (std::pair{3, 2}));
    EXPECT_EQ(shares(65536.6), (std::pair{1, 0}));
    EXPECT_EQ(shares(4294967295.9), (std::pair{0xFFFF, 0xFFFF}));
    EXPECT_EQ(shares(1e300), (std::pair{0xFFFF, 0xFFFF}));
    EXPECT_EQ(shares(-7.9), (std::pair{0, 0}));
    EXPECT_EQ(shares(std::nan("")), (std::pair{0, 0}));
}

TEST(EventRecords, UntouchedDropReportsItsDefaults)
{
    setGnssTime(1'700'000'123'456);
    const SFirewallStatistics drop;
    setGnssTime(0);
    EXPECT_EQ(
        createEvent<SEvent_Firewall_Statistics>(drop)->contextData,
        (context(200, {number(1, 1), number(1, 2), zeros(4), kTime, zeros(2), dashes(16), dashes(24), zeros(8),
                       text("eth0.connect", 24), dashes(24), zeros(32), text("UDP", 24), zeros(20), number(4, 2)})));
    EXPECT_EQ(drop.sourceAddress, Bytes(16));
    EXPECT_EQ(drop.destinationAddress, Bytes(16));
}

TEST(EventRecords, TimestampIsZeroWithoutTimeAndKeepsTheLowBitsOfTheSeconds)
{
    setGnssTime(0);
    EXPECT_EQ(createEvent<SEvent_KeepAlive>(1)->timestamp, Bytes(8));
    setGnssTime(((std::uint64_t{1} << 32) + 2) * 1000 + 999);
    EXPECT_EQ(createEvent<SEvent_KeepAlive>(1)->timestamp, (Bytes{0x3B, 0x8B, 0x87, 0xC0, 0, 0, 0, 2}));
}

TEST(EventRecords, StampingLeavesAShortTimestampAlone)
{
    Bytes timestamp(7, 0xEE);
    stamp(timestamp, 1'700'000'123'456);
    EXPECT_EQ(timestamp, Bytes(7, 0xEE));
}

TEST(EventRecords, CreationTimeIsTheBootClock)
{
    const std::uint32_t before = millisecondsSinceBoot();
    const std::uint32_t created = createEvent<SEvent_KeepAlive>(1)->creationTime;
    EXPECT_LE(created - before, millisecondsSinceBoot() - before);
}

constexpr auto kUnknown = eventLayout<std::uint32_t>("Unknown", 0xD703, field::integer("value", 7, 4, std::identity{}));
constexpr auto kMisfit = eventLayout<std::uint32_t>("Misfit", 0xD701, field::integer("value", 7, 4, std::identity{}));

TEST(EventRecords, UnknownIdLeavesAnEmptyRecordAndIsLogged)
{
    setGnssTime(1'700'000'123'456);
    const test_support::CapturedLog log;
    const auto event = createEvent<EventRecord<kUnknown>>(7);
    EXPECT_TRUE(event->contextData.empty());
    EXPECT_EQ(event->eventFrame, Bytes(8));
    EXPECT_EQ(event->timestamp, Bytes(8));
    EXPECT_EQ(event->eventId, 0xD703);
    EXPECT_EQ(log.count("CON_IDS_EVENT", tracing::Level::error, "SEvent::SEvent("), 1U);
    EXPECT_EQ(log.count("CON_IDS_EVENT", tracing::Level::error, "): Invalid event ID! (ID: 55043)"), 1U);
}

TEST(EventRecords, FieldsThatDoNotFitTheSizeOfTheIdAreNotWritten)
{
    const auto event = createEvent<EventRecord<kMisfit>>(7);
    EXPECT_EQ(event->contextData, (context(46, {zeros(39)})));
    EXPECT_EQ(event->eventFrame, (Bytes{0x13, 0x0C, 0x40, 0xD7, 0x01, 0x00, 0x01, 0x00}));
}

TEST(EventRecords, DescriptorDecidesOnFlagsLengthAndHeader)
{
    const SEvent bare{SEventDescriptor{.hasContextDataHeader = false,
                                       .eventId = 0x8000,
                                       .idsmInstanceId = 255,
                                       .hasContextData = false,
                                       .hasTimestamp = false}};
    EXPECT_EQ(bare.eventFrame, (Bytes{0x10, 0x3F, 0xC0, 0x80, 0x00, 0x00, 0x01, 0x00}));
    EXPECT_EQ(bare.contextData, Bytes(7));
}

TEST(EventRecords, ExactlyTheKnownIdsHaveASize)
{
    unsigned known = 0;
    std::size_t bytes = 0;
    for (std::uint32_t id = 0; id <= 0xFFFF; ++id) {
        const auto eventId = static_cast<std::uint16_t>(id);
        EXPECT_EQ(isKnownEventId(eventId), contextDataSize(eventId) != 0);
        known += isKnownEventId(eventId) ? 1 : 0;
        bytes += contextDataSize(eventId);
    }
    EXPECT_EQ(known, 31U);
    EXPECT_EQ(bytes, 2720U);
    EXPECT_EQ(contextDataSize(0xD703), 0);
    EXPECT_EQ(contextDataSize(0x002E), 11);
    EXPECT_EQ(contextDataSize(0xE903), 26);
}

} // namespace
