#include "CNfLogExchange.h"

#include <algorithm>
#include <cerrno>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "NetlinkBytes.h"

using namespace ids;
using test_support::CapturedLog;
using tracing::Level;

namespace {

constexpr auto kChannel = "CON_IDS_SENSOR_ETH";

class CNfLogExchangeTest : public ::testing::Test
{
protected:
    struct SSent
    {
        std::uint8_t command;
        unsigned group;
        std::uint32_t sequence;

        bool operator==(const SSent&) const = default;
    };

    SNfLogDatagram receive(std::vector<std::uint8_t> bytes)
    {
        return exchange.onReceived(bytes, static_cast<std::int64_t>(bytes.size()));
    }
    SNfLogDatagram reply(std::int32_t code) { return receive(NetlinkBytes{}.reply(time, code).bytes); }
    void reachGroups()
    {
        exchange.begin();
        reply(0);
        ASSERT_EQ(exchange.state(), NfLogState::RegGrps);
    }
    void reachListen()
    {
        reachGroups();
        for (const int code : {0, 0, 0, 0}) {
            reply(code);
        }
        ASSERT_EQ(exchange.state(), NfLogState::Listen);
    }

    CapturedLog log;
    std::uint32_t time = 1000;
    bool clockTicks = false;
    std::vector<NfLogRequest> requests;
    std::vector<SSent> sent;
    std::size_t refusedSends = 0;
    CRecordStore store;
    CNfLogExchange exchange{[this](const NfLogRequest& request) {
                                if (refusedSends > 0) {
                                    --refusedSends;
                                    errno = ECONNREFUSED;
                                    return false;
                                }
                                requests.push_back(request);
                                std::uint32_t sequence;
                                std::memcpy(&sequence, request.data() + 8, sizeof sequence);
                                sent.push_back({request[24], request[18] * 256U + request[19], sequence});
                                return true;
                            },
                            [this] { return clockTicks ? ++time : time; }, store};
};

TEST_F(CNfLogExchangeTest, FamilyRequestIsByteExact)
{
    time = 0x01020304;
    ASSERT_TRUE(exchange.begin());
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0], (NfLogRequest{28, 0, 0, 0, 1, 4, 5, 0, 4, 3, 2, 1, 0, 0, 0, 0, 10, 0, 0, 0, 5, 0, 1, 0, 3}));
}

TEST_F(CNfLogExchangeTest, GroupsAreAskedForInOrderUnderOneSequenceNumber)
{
    exchange.begin();
    clockTicks = true;
    reply(0);
    ASSERT_EQ(sent.size(), 5U);
    const auto sequence = sent[1].sequence;
    EXPECT_NE(sequence, sent[0].sequence);
    EXPECT_EQ(sent[1], (SSent{1, 32, sequence}));
    EXPECT_EQ(sent[2], (SSent{1, 29, sequence}));
    EXPECT_EQ(sent[3], (SSent{1, 30, sequence}));
    EXPECT_EQ(sent[4], (SSent{1, 9, sequence}));
}

TEST_F(CNfLogExchangeTest, OneGrantedGroupIsEnoughWhicheverItIs)
{
    std::array codes{-EPERM, -EPERM, -EPERM, 0};
    std::sort(codes.begin(), codes.end());
    do {
        std::size_t requestCount = 0;
        CNfLogExchange fresh{[&](const NfLogRequest&) { return ++requestCount > 0; }, [this] { return time; }, store};
        const auto answer = [&](int code) {
            auto bytes = NetlinkBytes{}.reply(time, code).bytes;
            fresh.onReceived(bytes, static_cast<std::int64_t>(bytes.size()));
        };
        fresh.begin();
        answer(0);
        for (const auto code : codes) {
            EXPECT_EQ(fresh.state(), NfLogState::RegGrps);
            answer(code);
        }
        EXPECT_EQ(fresh.state(), NfLogState::Listen);
        EXPECT_EQ(requestCount, 5U);
    } while (std::next_permutation(codes.begin(), codes.end()));
}

TEST_F(CNfLogExchangeTest, NoGrantedGroupGivesTheFamilyBackAndEndsTheReading)
{
    reachGroups();
    for (int group = 0; group < 4; ++group) {
        reply(-EBUSY);
    }
    EXPECT_EQ(exchange.state(), NfLogState::Unbind);
    EXPECT_EQ(sent.back(), (SSent{4, 0, time}));
    EXPECT_EQ(log.count(kChannel, Level::error, "NACK received!"), 4U);

    reply(-EPERM);
    EXPECT_EQ(log.count(kChannel, Level::error, "NACK received."), 1U);
    reply(0);
    EXPECT_EQ(log.count(kChannel, Level::progress, "ACK received."), 1U);
    EXPECT_TRUE(receive(NetlinkBytes{}.packet(29).bytes).packets.empty());
    EXPECT_EQ(exchange.state(), NfLogState::Unbind);
}

TEST_F(CNfLogExchangeTest, RefusedFamilyIsFinal)
{
    exchange.begin();
    reply(-EPERM);
    EXPECT_EQ(exchange.state(), NfLogState::Bind);
    EXPECT_EQ(log.count(kChannel, Level::error, "NACK received!"), 1U);
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(CNfLogExchangeTest, WhatIsNoReplyChangesNothing)
{
    reachGroups();
    reply(0);
    reply(0);
    reply(0);
    std::vector<std::uint8_t> buffer(64);
    exchange.onReceived(buffer, -1);
    receive(NetlinkBytes{}.ack(time + 1).bytes);
    receive(NetlinkBytes{}.message(NLMSG_DONE, {0, 0, 0, 0}, time).bytes);
    receive(NetlinkBytes{}.message(NLMSG_ERROR, {0, 0, 0}, time).bytes);
    EXPECT_TRUE(receive(NetlinkBytes{}.packet(29).bytes).packets.empty()) << "not listening yet";
    EXPECT_EQ(exchange.state(), NfLogState::RegGrps);

    receive(NetlinkBytes{}.packet(29).ack(time + 1).ack(time).bytes);
    EXPECT_EQ(exchange.state(), NfLogState::Listen) << "the reply need not be the first message";
}

TEST_F(CNfLogExchangeTest, GroupThatCannotBeAskedForLeavesTheOthersWaiting)
{
    exchange.begin();
    refusedSends = 1;
    reply(0);
    EXPECT_EQ(log.count(kChannel, Level::progress, "Can't register group 32! errno: Connection refused"), 1U);
    EXPECT_EQ(sent.size(), 4U);
    for (int group = 0; group < 3; ++group) {
        reply(0);
    }
    EXPECT_EQ(exchange.state(), NfLogState::RegGrps);
}

TEST_F(CNfLogExchangeTest, UnsentFamilyRequestIsTold)
{
    refusedSends = 1;
    EXPECT_FALSE(exchange.begin());
}

TEST_F(CNfLogExchangeTest, ListeningYieldsPacketsAndSurvivesAFailedReceive)
{
    reachListen();
    EXPECT_EQ(receive(NetlinkBytes{}.packet(29).packet(30).bytes).packets.size(), 2U);
    std::vector<std::uint8_t> buffer(8192);
    EXPECT_TRUE(exchange.onReceived(buffer, -1).packets.empty());
    EXPECT_TRUE(receive({}).packets.empty());
    EXPECT_EQ(exchange.state(), NfLogState::Listen);
}

} // namespace
