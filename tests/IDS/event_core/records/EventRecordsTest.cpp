#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "CGnssManager.h"
#include "CapturedLog.h"
#include "FailingAllocation.h"
#include "event_factory.h"

namespace {

using namespace ids;
using event_factory::createEvent;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint64_t kTime = 1'700'000'123'456;

void setGnssTime(std::uint64_t milliseconds)
{
    using asi::navigation::gnss::Position;
    const auto position = std::make_shared<Position>(Position{.timestampUTC = milliseconds});
    CGnssManager::getInstance()->updatePosition(position, true);
}

/// Bytes of context data: those of a filled input record, and those of a record that nobody touched.
struct Part
{
    Bytes filled;
    Bytes untouched = Bytes(filled.size());
};

/// size bytes counting up from first.
Part bytes(std::uint8_t first, std::size_t size)
{
    Bytes counting(size);
    std::iota(counting.begin(), counting.end(), first);
    return {counting};
}

Part number(std::uint64_t value, unsigned width, std::uint64_t untouched = 0)
{
    Part part{Bytes(width)};
    for (unsigned i = width; i-- > 0; value >>= 8, untouched >>= 8) {
        part.filled[i] = static_cast<std::uint8_t>(value);
        part.untouched[i] = static_cast<std::uint8_t>(untouched);
    }
    return part;
}

Part characters(std::string text, std::size_t width, std::string untouched = "")
{
    text.resize(width);
    untouched.resize(width);
    return {{text.begin(), text.end()}, {untouched.begin(), untouched.end()}};
}

Part text(const std::string& text, std::size_t width)
{
    return characters(text, width, std::string(width, '-'));
}

Part joined(std::initializer_list<Part> parts)
{
    Part all;
    for (const Part& part : parts) {
        all.filled.insert(all.filled.end(), part.filled.begin(), part.filled.end());
        all.untouched.insert(all.untouched.end(), part.untouched.begin(), part.untouched.end());
    }
    return all;
}

/// The parts behind the length word and header of context data of that size.
Part context(std::uint32_t size, std::initializer_list<Part> parts)
{
    const std::uint32_t length = 0x80'0000 + size - 3;
    return joined({number(length, 3, length), number(1, 4, 1), joined(parts)});
}

const Part kSource = bytes(0x10, 16);
const Part kDestination = bytes(0x30, 16);
const Bytes kTimeBytes{0, 0, 0x1B, 0x2E, 0x02, 0x00, 0x65, 0x53, 0xF1, 0x7B};

/// Every member has a value of its own that fills its field, so that a swapped, shifted or forgotten field shows.
SFirewallStatistics firewallDrop()
{
    SFirewallStatistics drop;
    std::tie(drop.sourceAddress, drop.sourcePort) = std::tuple(kSource.filled, 0x1C10'1C11);
    std::tie(drop.destinationAddress, drop.destinationPort) = std::tuple(kDestination.filled, 0x1304'1305);
    std::tie(drop.time, drop.packetCount, drop.nflogGroup, drop.groupNumber) =
        std::tuple(kTime, 0x1203, 0x1608, 0x1A0D);
    std::tie(drop.interfaceName, drop.groupTag, drop.protocolName) = std::tuple("eth1", "INV_PORT_TCP", "TCP");
    std::tie(drop.reserved0, drop.reserved1, drop.reserved2) = std::tuple(0x1001, 0x1101'1102, 0x1406);
    std::tie(drop.reserved3, drop.reserved4, drop.reserved5) = std::tuple(0x1507, 0x17, 0x180A);
    std::tie(drop.reserved6, drop.reserved7, drop.reserved8) = std::tuple(0x190B'190C, 0x1B0E'1B0F, 0x1D12);
    std::tie(drop.reserved9, drop.reservedTail) = std::tuple(0x1E13, 0x1F14'1F15);
    std::tie(drop.reservedText0, drop.reservedText1) = std::tuple("text zero", "text one");
    std::tie(drop.reservedText2, drop.reservedText3) = std::tuple("text two", "text three");
    drop.reservedBytes0 = bytes(0x90, 64).filled;
    drop.reservedBytes1 = bytes(0x60, 6).filled;
    drop.reservedBytes2 = bytes(0x70, 6).filled;
    return drop;
}

template <typename RecordT>
void expectEvent(std::uint16_t id, std::string_view name, const event_factory::InputOf<RecordT>& input,
                 const Part& expected)
{
    SCOPED_TRACE(name);
    setGnssTime(kTime);
    EXPECT_EQ(RecordT::kLayout.name, name);
    const auto event = createEvent<RecordT>(input);
    EXPECT_EQ(event->eventId, id);
    EXPECT_EQ(event->eventFrame, joined({number(0x13'0C40, 3), number(id, 2), number(0x00'0100, 3)}).filled);
    EXPECT_EQ(event->timestamp, Bytes(kTimeBytes.begin() + 2, kTimeBytes.end()));
    EXPECT_EQ(event->contextData, expected.filled);
    EXPECT_EQ(createEvent<RecordT>({})->contextData, expected.untouched);
}

TEST(EventRecords, EventsOfTheSensorsHaveTheirBytes)
{
    const Bytes six{1, 2, 3, 4, 5, 6};
    const SProcess process{4660.5, 22136.9, 0x00A1B2C3, "telematics", 0xBEEF};
    const STlsHandshakeFailure handshake{
        0x1234, kSource.filled,      0x5678,   0x9ABC, {1, 2, 3}, {4, 5, 6}, 0xDEAD'BEEF,
        "TCP",  kDestination.filled, "backend"};

    expectEvent<SEvent_KeepAlive>(0x8000, "KeepAlive", 0xA1B2C3D4,
                                  joined({number(0x80'0004, 3, 0x80'0004), number(0xA1B2C3D4, 4)}));
    expectEvent<SEvent_VkmsNoKeysAvailable>(0xD00E, "VkmsNoKeysAvailable", 0xA1B2C3D4,
                                            context(17, {number(0xA1B2C3D4, 10)}));
    expectEvent<SEvent_ApnConfigChange>(0xD705, "ApnConfigChange", process,
                                        context(56, {text("telematics", 46), number(0xA1B2C3, 3)}));
    expectEvent<SEvent_ResourceConsumption>(0xD701, "ResourceConsumption", process,
                                            context(46, {number(4661, 2), number(0xA1B2C3, 9), text("telematics", 24),
                                                         number(0xBEEF, 2), number(22136, 2)}));
    expectEvent<SEvent_ServiceListChange>(
        0xD016, "ServiceListChange", {0x5A, "voice,hotspot", kTime},
        context(146, {number(0x5A, 1), text("voice,hotspot", 128), Part{kTimeBytes}}));
    expectEvent<SEvent_TeeInvocation>(0xD015, "TeeInvocation", {"OP-TEE", "key_manager", 0xC0DE, "slot 3"},
                                      context(78, {number(6, 2), text("OP-TEE", 24), number(11, 2),
                                                   text("key_manager", 24), number(0xC0DE, 3), text("slot 3", 16)}));
    expectEvent<SEvent_FailServiceDiscovery>(
        0xD006, "FailServiceDiscovery", {"no offer", bytes(0x80, 80).filled, kSource.filled, "navigation", 0x5A},
        context(208, {number(0x5A, 1), text("navigation", 24), bytes(0x80, 80), kSource, characters("no offer", 80)}));
    expectEvent<SEvent_FailTlsHandshake>(
        0xD012, "FailTlsHandshake", handshake,
        context(87, {Part{six}, kSource, kDestination, text("TCP", 8), number(0x5678'1234, 4), text("backend", 24),
                     number(0xDEAD'BEEF'9ABC, 6)}));
    expectEvent<SEvent_ExtConnUnsuccessful>(
        0xE901, "ExtConnUnsuccessful", {0x5A, six, 0xDEAD'BEEF, "wlan0"},
        context(42, {number(0x5A, 1), Part{six}, number(0xDEAD'BEEF, 4), text("wlan0", 24)}));
}

TEST(EventRecords, EventsOfTheFirewallHaveTheirBytes)
{
    const SFirewallStatistics drop = firewallDrop();
    const Part addresses = joined({kSource, kDestination});
    const Part ports = number(0x1C10'1C11'1304'1305, 8);
    const Part time{kTimeBytes, kTimeBytes};
    const Part protocol = characters("TCP", 16, "UDP");

    const Part simple = context(
        53, {number(0x1001, 2), kSource, number(0x1C10'1C11, 4), kDestination, number(0x1304'1305'0000'1A0D, 8)});
    expectEvent<SEvent_Firewall_DropInvPortTCP>(0x000B, "Firewall_DropInvPortTCP", drop, simple);
    expectEvent<SEvent_Firewall_DropInvPortUDP>(0x000C, "Firewall_DropInvPortUDP", drop, simple);
    expectEvent<SEvent_Firewall_DropInvIpv6Address>(0x000E, "Firewall_DropInvIpv6Address", drop, simple);
    expectEvent<SEvent_Firewall_DataDefinitionL3CheckFailed>(0x9701, "Firewall_DataDefinitionL3CheckFailed", drop,
                                                             context(51, {number(0x1102'1001, 4), addresses, ports}));
    expectEvent<SEvent_Firewall_MaxMsgSizeExceeded>(
        0x9709, "Firewall_MaxMsgSizeExceeded", drop,
        context(66, {number(0x1001, 2), addresses, protocol, ports, number(0x17, 1)}));
    expectEvent<SEvent_Firewall_UnallowedL4Protocol>(
        0x9704, "Firewall_UnallowedL4Protocol", drop,
        context(132,
                {number(0x1001, 2), addresses, protocol, ports, number(0x0A, 1), bytes(0x90, 64), number(0x1507, 2)}));
    expectEvent<SEvent_Firewall_BlockedConnections>(
        0x9712, "Firewall_BlockedConnections", drop,
        context(342, {number(0x1B0E'1B0F'1507, 6), time, number(0x1A0D, 2), text("INV_PORT_TCP", 24),
                      characters("text one", 64), number(0x180A'1E13'1101'1102, 8),
                      characters("eth1", 64, "eth0.connect"), text("text zero", 64), addresses, protocol, ports,
                      text("text three", 16), text("text two", 16), number(0x190B'190C'03, 5, 1)}));
    expectEvent<SEvent_Firewall_Statistics>(
        0x9711, "Firewall_Statistics", drop,
        context(200, {number(1, 1, 1), number(0x1203, 2, 1), number(0x1D12'1507, 4), time, number(0x1A0D, 2),
                      text("INV_PORT_TCP", 16), text("text one", 24), number(0x180A'1E13'1101'1102, 8),
                      characters("eth1", 24, "eth0.connect"), text("text zero", 24), addresses,
                      characters("TCP", 24, "UDP"), ports, bytes(0x70, 6), bytes(0x60, 6), number(0x1F15, 2, 4)}));
}

TEST(EventRecords, ContentTooLongIsCutAtTheFieldAndShortBytesLeaveZeros)
{
    const std::string name(25, 'n');
    const Part cut{Bytes(24, 'n')};
    EXPECT_EQ(createEvent<SEvent_TeeInvocation>({name, name, 0, "slot"})->contextData,
              context(78, {number(24, 2), cut, number(24, 2), cut, number(0, 3), text("slot", 16)}).filled);
    const SServiceDiscoveryFailure failure{std::string(81, 'e'), bytes(0, 81).filled, {1, 2}, name};
    EXPECT_EQ(
        createEvent<SEvent_FailServiceDiscovery>(failure)->contextData,
        context(208, {number(0, 1), cut, bytes(0, 80), number(0x0102, 2), number(0, 14), Part{Bytes(80, 'e')}}).filled);
}

TEST(EventRecords, CpuSharesAreRoundedAndTruncatedAndSaturate)
{
    const auto shares = [](double share) {
        const auto event = createEvent<SEvent_ResourceConsumption>({.cpuUsage = share, .systemCpuUsage = share});
        const Bytes& data = event->contextData;
        return std::pair{data[7] << 8 | data[8], data[44] << 8 | data[45]};
    };
    EXPECT_EQ(shares(0.49999999999999994), (std::pair{0, 0}));
    EXPECT_EQ(shares(2.5), (std::pair{3, 2}));
    EXPECT_EQ(shares(65536.6), (std::pair{1, 0}));
    EXPECT_EQ(shares(1e300), (std::pair{0xFFFF, 0xFFFF}));
    EXPECT_EQ(shares(-7.9), (std::pair{0, 0}));
}

TEST(EventRecords, TimestampIsTheGnssTime)
{
    setGnssTime(((std::uint64_t{1} << 32) + 2) * 1000 + 999);
    EXPECT_EQ(createEvent<SEvent_KeepAlive>(1)->timestamp, (Bytes{0x3B, 0x8B, 0x87, 0xC0, 0, 0, 0, 2}));
}

TEST(EventRecords, DescriptorDecidesOnFlagsLengthAndHeader)
{
    const SEvent bare{SEventDescriptor{false, 0x8000, 255, false, false}};
    EXPECT_EQ(bare.eventFrame, (Bytes{0x10, 0x3F, 0xC0, 0x80, 0x00, 0x00, 0x01, 0x00}));
    EXPECT_EQ(bare.contextData, Bytes(7));
}

constexpr auto kUnknown =
    eventLayout<std::uint32_t>("Unknown", 0xD703, "nobody", field::integer("value", 7, 4, std::identity{}));

TEST(EventRecords, AnUnknownIdStaysEmptyAndALackOfMemoryGivesNoEventBothWithALine)
{
    const test_support::CapturedLog log;
    const auto unknown = createEvent<EventRecord<kUnknown>>(7);
    EXPECT_TRUE(unknown->contextData.empty());
    EXPECT_EQ(unknown->eventFrame, Bytes(8));
    EXPECT_EQ(log.count("CON_IDS_EVENT", tracing::Level::error, "): Invalid event ID! (ID: 55043)"), 1U);
    const test_support::FailingAllocation failing{test_support::FailingAllocation::Kind::throwing, 1, 2};
    EXPECT_EQ(createEvent<SEvent_KeepAlive>(1), nullptr);
    EXPECT_EQ(log.count("CON_IDS_EVENT", tracing::Level::error, "): Can't create event structure!"), 1U);
}

} // namespace
