#include <cerrno>
#include <cstring>
#include <linux/netfilter/nfnetlink_log.h>
#include <linux/netlink.h>
#include <numeric>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "CNfLogExchange.h"
#include "FailingAllocation.h"
#include "NlHelpers.h"

using namespace ids;
using test_support::FailingAllocation;
using Bytes = std::vector<std::uint8_t>;

namespace {

constexpr std::uint32_t kPort = 4711;

/// Builds datagrams as the kernel would send them.
struct Datagram
{
    template <typename Header>
    Datagram& append(const Header& header, const Bytes& payload)
    {
        const auto* const start = reinterpret_cast<const std::uint8_t*>(&header);
        bytes.insert(bytes.end(), start, start + sizeof header);
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        bytes.resize(NLMSG_ALIGN(bytes.size()));
        return *this;
    }
    Datagram& message(std::uint16_t type, const Bytes& payload, std::uint32_t sequence = 0, std::uint32_t port = 0)
    {
        const auto length = static_cast<std::uint32_t>(sizeof(nlmsghdr) + payload.size());
        return append(nlmsghdr{length, type, 0, sequence, port}, payload);
    }
    Datagram& reply(std::uint32_t sequence, std::int32_t code, std::uint32_t port = kPort)
    {
        Bytes payload(sizeof(nlmsgerr));
        std::memcpy(payload.data(), &code, sizeof code);
        return message(NLMSG_ERROR, payload, sequence, port);
    }
    /// A packet logged to the group: 52 bytes that count up from 0, behind an attribute that is of no interest.
    Datagram& packet(std::uint16_t group)
    {
        Bytes content(52);
        std::iota(content.begin(), content.end(), std::uint8_t{0});
        Datagram attributes{{10, 0, static_cast<std::uint8_t>(group >> 8), static_cast<std::uint8_t>(group)}};
        attributes.append(nlattr{6, NFULA_PREFIX}, {'x', 0});
        attributes.append(nlattr{56, NFULA_PAYLOAD | NLA_F_NESTED}, content);
        return message(0x0400, attributes.bytes);
    }

    Bytes bytes;
};

SNfLogDatagram parse(const Bytes& bytes)
{
    CRecordStore store;
    return parseNfLogDatagram(bytes, store);
}

TEST(NfLogDatagramTest, PacketsComeInOrderUntilTheEndAndErrorsAreSkipped)
{
    auto datagram = Datagram{}.packet(29).reply(1, 0).packet(0x0105).message(0x0400, {10, 0, 29});
    const auto parsed = parse(datagram.message(NLMSG_DONE, {}).packet(30).bytes);
    EXPECT_FALSE(parsed.cut);
    ASSERT_EQ(parsed.packets.size(), 3U);
    EXPECT_EQ(parsed.packets[0]->groupNumber, 29);
    EXPECT_EQ(parsed.packets[0]->groupTag, "INV_PORT_TCP");
    EXPECT_EQ(parsed.packets[1]->nflogGroup, 0x0105);
    EXPECT_EQ(parsed.packets[2]->nflogGroup, 0) << "too short for a group";
}

TEST(NfLogDatagramTest, PayloadOfAnyLengthGivesWhatItHoldsAndNothingOfTheFormerPacket)
{
    CRecordStore store;
    for (int length = 0xFFFF; length >= 0; --length) {
        auto bytes = Datagram{}.packet(30).bytes;
        std::memcpy(bytes.data() + 28, &length, 2);
        auto packets = parseNfLogDatagram(bytes, store).packets;
        const auto& record = *packets.at(0);
        const auto held = length <= 56 ? length - 4 : 0;
        ASSERT_EQ(record.sourceAddress.back(), held >= 40 ? 23 : 0) << length;
        ASSERT_EQ(record.destinationAddress.back(), held >= 40 ? 39 : 0) << length;
        ASSERT_EQ(record.sourcePort, held >= 44 ? 0x2829U : 0U) << length;
        ASSERT_EQ(record.destinationPort, held >= 44 ? 0x2A2BU : 0U) << length;
        store.giveBack(std::move(packets));
    }
}

TEST(NfLogDatagramTest, DatagramCutAtAnyByteGivesTheWholePacketsAndSaysSo)
{
    const auto whole = Datagram{}.packet(29).packet(30).bytes;
    const auto half = whole.size() / 2;
    for (std::size_t size = 16; size < whole.size(); ++size) {
        const auto parsed = parse({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
        EXPECT_EQ(parsed.packets.size(), size / half) << size;
        EXPECT_EQ(parsed.cut, size != half) << size;
    }
}

TEST(NfLogDatagramTest, NeitherMessageLengthsNorTheCountOfValidBytesAreBelieved)
{
    for (std::uint32_t length = 0; length <= 64; ++length) {
        auto bytes = Datagram{}.reply(1, 0).reply(2, 0).bytes;
        std::memcpy(bytes.data() + 36, &length, sizeof length);
        const std::size_t expected = length >= 16 && length <= 36 ? 2 : 1;
        EXPECT_EQ(IDS::NlHelpers::getNlMsgHdrs(bytes, 4096).size(), expected) << length;
        EXPECT_EQ(IDS::NlHelpers::getNlMsgHdrs(bytes, 36 + length).size(), expected) << "unpadded " << length;
    }
}

TEST(NfLogDatagramTest, RandomDamageIsSurvived)
{
    const auto whole = Datagram{}.packet(29).packet(9).bytes;
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

class CNfLogExchangeTest : public ::testing::Test
{
protected:
    NfLogState stateAfter(const std::vector<int>& replies)
    {
        const auto send = [this](const NfLogRequest& request) {
            sent.push_back(request);
            return true;
        };
        exchange.emplace(
            send, [this] { return ++time; }, store);
        EXPECT_TRUE(exchange->begin());
        for (const auto code : replies) {
            receive(Datagram{}.reply(time, code));
        }
        return exchange->state();
    }
    DroppedPackets receive(Datagram datagram) { return exchange->onReceived(datagram.bytes, kPort).packets; }
    static NfLogRequest request(std::uint8_t sequence, std::uint8_t command, std::uint8_t group)
    {
        return {28, 0, 0, 0, 1, 4, 5, 0, sequence, 3, 2, 1, 0, 0, 0, 0, 10, 0, 0, group, 5, 0, 1, 0, command};
    }

    std::uint32_t time = 0x01020303; ///< moves on with every look at it
    std::vector<NfLogRequest> sent;
    CRecordStore store;
    std::optional<CNfLogExchange> exchange;
};

TEST_F(CNfLogExchangeTest, RequestsAreByteExactAndThoseForGroupsShareASequenceNumber)
{
    stateAfter({0});
    EXPECT_EQ(sent, (std::vector{request(4, 3, 0), request(5, 1, 32), request(5, 1, 29), request(5, 1, 30),
                                 request(5, 1, 9)}));
}

TEST_F(CNfLogExchangeTest, TheFamilyAndOneGroupWhicheverItIsMustBeGranted)
{
    EXPECT_EQ(stateAfter({-EPERM}), NfLogState::Bind);
    EXPECT_EQ(sent.size(), 1U);
    for (std::size_t granted = 1; granted <= 4; ++granted) {
        std::vector<int> codes{0, -EPERM, -EPERM, -EPERM, -EPERM};
        codes[granted] = 0;
        EXPECT_EQ(stateAfter(codes), NfLogState::Listen) << granted;
    }
}

TEST_F(CNfLogExchangeTest, RepliesAreTakenWithoutMemoryAndLostPacketsAreShown)
{
    stateAfter({0});
    for (int group = 0; group < 4; ++group) {
        const auto reply = Datagram{}.reply(time, 0).bytes;
        const FailingAllocation failing{FailingAllocation::Kind::throwing, 1000};
        EXPECT_FALSE(exchange->onReceived(reply, kPort).noMemory);
    }
    EXPECT_EQ(exchange->state(), NfLogState::Listen);
    auto packets = Datagram{}.packet(29).packet(30).bytes;
    std::set<std::size_t> found;
    for (unsigned after = 0; !found.contains(2); ++after) {
        const FailingAllocation failing{FailingAllocation::Kind::throwing, 1, after};
        const auto datagram = exchange->onReceived(packets, kPort);
        EXPECT_FALSE(datagram.cut);
        EXPECT_EQ(datagram.noMemory, datagram.packets.size() < 2);
        const FailingAllocation none{FailingAllocation::Kind::throwing, 0};
        found.insert(datagram.packets.size());
    }
    EXPECT_TRUE(found.contains(0) && found.contains(1));
    EXPECT_EQ(IDS::NlHelpers::getNlMsgHdrs(packets, packets.size()).size(), 2U);
    const FailingAllocation noList{FailingAllocation::Kind::throwing};
    EXPECT_TRUE(IDS::NlHelpers::getNlMsgHdrs(packets, packets.size()).empty());
}

TEST_F(CNfLogExchangeTest, NoGrantedGroupGivesTheFamilyBackAndEndsTheReading)
{
    stateAfter({0, -EBUSY, -EBUSY, -EBUSY, -EBUSY, -EPERM, 0});
    EXPECT_EQ(sent.back(), request(6, 4, 0));
    EXPECT_TRUE(receive(Datagram{}.packet(29)).empty());
    EXPECT_EQ(exchange->state(), NfLogState::Unbind);
}

TEST_F(CNfLogExchangeTest, WhatIsNoReplyChangesNothingUntilTheLastReplyStartsTheListening)
{
    stateAfter({0, 0, 0, 0});
    receive(Datagram{}.message(NLMSG_DONE, {0, 0, 0, 0}, time));
    receive(Datagram{}.message(NLMSG_ERROR, {0, 0, 0}, time, kPort));
    receive(Datagram{}.reply(time, 0, kPort + 1));
    EXPECT_TRUE(receive(Datagram{}.packet(29).reply(time + 1, 0)).empty()) << "not listening yet";
    EXPECT_EQ(exchange->state(), NfLogState::RegGrps);

    receive(Datagram{}.packet(29).reply(time + 1, 0).reply(time, 0));
    EXPECT_EQ(exchange->state(), NfLogState::Listen) << "the reply need not be the first message";
    EXPECT_EQ(receive(Datagram{}.packet(29).packet(30)).size(), 2U);
}

} // namespace
