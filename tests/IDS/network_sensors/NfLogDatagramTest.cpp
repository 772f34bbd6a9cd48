#include "NfLogDatagram.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include <gtest/gtest.h>

#include "NetlinkBytes.h"

using ids::parseNfLogDatagram;

namespace {

constexpr std::uint16_t kPayload = NFULA_PAYLOAD;

ids::SNfLogDatagram parse(std::vector<std::uint8_t> bytes)
{
    ids::CRecordStore store;
    return parseNfLogDatagram(bytes, bytes.size(), store);
}

TEST(NfLogDatagramTest, PacketsComeInOrderWithGroupTagAndAddresses)
{
    const auto datagram = parse(NetlinkBytes{}
                                    .packet(29, {{1, {0, 0, 0, 0}}, {10, {'x', 0}}, {kPayload, NetlinkBytes::ipv6(60)}})
                                    .packet(9)
                                    .packet(0x0105)
                                    .bytes);
    EXPECT_FALSE(datagram.cut);
    ASSERT_EQ(datagram.packets.size(), 3U);
    const auto& first = *datagram.packets[0];
    EXPECT_EQ(first.nflogGroup, 29);
    EXPECT_EQ(first.groupNumber, 29);
    EXPECT_EQ(first.groupTag, "INV_PORT_TCP");
    EXPECT_EQ(first.packetCount, 1);
    EXPECT_EQ(first.sourceAddress, (std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
    EXPECT_EQ(first.destinationAddress.front(), 101);
    EXPECT_EQ(first.destinationAddress.back(), 116);
    EXPECT_EQ(first.sourcePort, 0x1234U);
    EXPECT_EQ(first.destinationPort, 0x5678U);

    EXPECT_EQ(datagram.packets[1]->groupTag, "UNDEF_IPV6_ADDR");
    EXPECT_EQ(datagram.packets[1]->sourceAddress, std::vector<std::uint8_t>(16));
    EXPECT_EQ(datagram.packets[2]->nflogGroup, 0x0105);
    EXPECT_EQ(datagram.packets[2]->groupTag, "");
}

TEST(NfLogDatagramTest, ShortPayloadGivesWhatItHolds)
{
    for (std::size_t size = 0; size <= 44; ++size) {
        const auto datagram = parse(NetlinkBytes{}.packet(30, {{kPayload, NetlinkBytes::ipv6(size)}}).bytes);
        ASSERT_EQ(datagram.packets.size(), 1U);
        const auto& record = *datagram.packets[0];
        EXPECT_EQ(record.sourceAddress[0], size >= 40 ? 1 : 0) << size;
        EXPECT_EQ(record.destinationAddress[15], size >= 40 ? 116 : 0) << size;
        EXPECT_EQ(record.sourcePort, size >= 44 ? 0x1234U : 0U) << size;
        EXPECT_EQ(record.destinationPort, size >= 44 ? 0x5678U : 0U) << size;
    }
}

TEST(NfLogDatagramTest, FlagBitsOfAnAttributeTypeAreNotPartOfIt)
{
    const auto datagram = parse(NetlinkBytes{}.packet(30, {{kPayload | NLA_F_NESTED, NetlinkBytes::ipv6(44)}}).bytes);
    EXPECT_EQ(datagram.packets.at(0)->destinationPort, 0x5678U);
}

TEST(NfLogDatagramTest, ErrorsAreSkippedAndTheEndIsTheEnd)
{
    const auto datagram = parse(NetlinkBytes{}.ack(1).packet(29).message(NLMSG_DONE, {}).packet(30).bytes);
    ASSERT_EQ(datagram.packets.size(), 1U);
    EXPECT_EQ(datagram.packets[0]->nflogGroup, 29);
    EXPECT_FALSE(datagram.cut);
}

TEST(NfLogDatagramTest, DatagramCutAtAnyByteGivesTheWholePacketsAndSaysSo)
{
    const auto whole = NetlinkBytes{}
                           .packet(29, {{kPayload, NetlinkBytes::ipv6(48)}})
                           .packet(30, {{kPayload, NetlinkBytes::ipv6(48)}})
                           .bytes;
    const auto half = whole.size() / 2;
    for (std::size_t size = 16; size < whole.size(); ++size) {
        const auto datagram = parse({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
        EXPECT_EQ(datagram.packets.size(), size / half) << size;
        EXPECT_EQ(datagram.cut, size != half) << size;
    }
}

TEST(NfLogDatagramTest, MessageTooShortForAGroupIsAPacketOfNoGroup)
{
    for (std::size_t size = 0; size < 4; ++size) {
        const auto datagram = parse(NetlinkBytes{}.message(0x0400, std::vector<std::uint8_t>(size, 29)).bytes);
        ASSERT_EQ(datagram.packets.size(), 1U);
        EXPECT_EQ(datagram.packets[0]->groupTag, "");
    }
}

TEST(NfLogDatagramTest, AttributeLengthsAreNotBelieved)
{
    const std::size_t lengthAt = NLMSG_HDRLEN + 4;
    for (std::uint32_t length = 0; length <= 0xFFFF; ++length) {
        auto bytes = NetlinkBytes{}.packet(30, {{kPayload, NetlinkBytes::ipv6(44)}}).bytes;
        const auto value = static_cast<std::uint16_t>(length);
        std::memcpy(bytes.data() + lengthAt, &value, sizeof value);
        const auto datagram = parse(bytes);
        ASSERT_EQ(datagram.packets.size(), 1U);
        ASSERT_EQ(datagram.packets[0]->sourceAddress[0], length >= 44 && length <= 48 ? 1 : 0) << length;
        ASSERT_EQ(datagram.packets[0]->sourcePort, length == 48 ? 0x1234U : 0U) << length;
    }
}

TEST(NfLogDatagramTest, RandomDamageIsSurvived)
{
    const auto whole = NetlinkBytes{}.packet(29, {{kPayload, NetlinkBytes::ipv6(48)}, {2, {1, 2, 3}}}).packet(9).bytes;
    std::mt19937 random{1};
    for (int round = 0; round < 20000; ++round) {
        auto bytes = whole;
        bytes.resize(random() % (whole.size() + 1));
        for (auto hits = random() % 4; hits > 0 && !bytes.empty(); --hits) {
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        }
        EXPECT_LE(parse(bytes).packets.size(), bytes.size() / 16);
    }
}

TEST(NfLogDatagramTest, UsedRecordKeepsNothingOfItsFormerPacket)
{
    ids::CRecordStore store;
    auto bytes = NetlinkBytes{}.packet(29, {{kPayload, NetlinkBytes::ipv6(60)}}).bytes;
    auto first = parseNfLogDatagram(bytes, bytes.size(), store);
    const auto* const address = first.packets.at(0).get();
    store.giveBack(std::move(first.packets));

    bytes = NetlinkBytes{}.packet(5).packet(5).bytes;
    const auto second = parseNfLogDatagram(bytes, bytes.size(), store);
    ASSERT_EQ(second.packets.at(0).get(), address);
    EXPECT_NE(second.packets.at(1).get(), address);
    for (const auto& record : second.packets) {
        EXPECT_EQ(record->nflogGroup, 5);
        EXPECT_EQ(record->groupNumber, 5);
        EXPECT_EQ(record->groupTag, "");
        EXPECT_EQ(record->sourceAddress, std::vector<std::uint8_t>(16));
        EXPECT_EQ(record->destinationAddress, std::vector<std::uint8_t>(16));
        EXPECT_EQ(record->sourcePort, 0U);
        EXPECT_EQ(record->destinationPort, 0U);
    }
}

TEST(NfLogDatagramTest, CorpusOfTheFuzzersIsSurvived)
{
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator{FUZZ_CORPUS}) {
        if (entry.is_regular_file()) {
            std::ifstream file{entry.path(), std::ios::binary};
            const std::vector<char> content{std::istreambuf_iterator<char>{file}, {}};
            parse({content.begin(), content.end()});
            ++files;
        }
    }
    EXPECT_GT(files, 0U);
}

} // namespace
