#include "NlHelpers.h"

#include <atomic>
#include <csignal>
#include <pthread.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "NetlinkBytes.h"

using namespace IDS::NlHelpers;
using test_support::CapturedLog;
using tracing::Level;

namespace {

constexpr auto kChannel = "CON_IDS_NETLINK";

TEST(NlHelpersTest, EachMessageOfADatagramIsFound)
{
    auto datagram = NetlinkBytes{}.ack(1).ack(2).ack(3).bytes;
    ASSERT_EQ(datagram.size(), 108U);
    datagram.resize(8192);
    const auto headers = getNlMsgHdrs(datagram, 108);
    ASSERT_EQ(headers.size(), 3U);
    for (std::uint32_t index = 0; index < 3; ++index) {
        EXPECT_EQ(reinterpret_cast<std::uint8_t*>(headers[index]), datagram.data() + index * 36);
        EXPECT_EQ(headers[index]->nlmsg_seq, index + 1);
        EXPECT_TRUE(isNlMsgError(headers[index]));
        EXPECT_EQ(getNlMsgData(headers[index]), datagram.data() + index * 36 + 16);
    }
}

TEST(NlHelpersTest, BadLengthEndsTheWalkBehindTheGoodMessages)
{
    for (const std::uint32_t bad : {0U, 8U, 15U, 37U, 0xFFFFFFFFU}) {
        auto datagram = NetlinkBytes{}.ack(1).ack(2).bytes;
        NetlinkBytes::setLength(datagram, 36, bad);
        EXPECT_EQ(getNlMsgHdrs(datagram, datagram.size()).size(), 1U) << bad;
    }
}

TEST(NlHelpersTest, LastMessageNeedsNoPadding)
{
    std::vector<std::uint8_t> datagram(18);
    NetlinkBytes::setLength(datagram, 0, 17);
    EXPECT_EQ(getNlMsgHdrs(datagram, 18).size(), 1U);
}

TEST(NlHelpersTest, CountOfValidBytesIsNotBelievedBeyondTheBuffer)
{
    auto datagram = NetlinkBytes{}.ack(1).bytes;
    NetlinkBytes::setLength(datagram, 0, 40);
    EXPECT_TRUE(getNlMsgHdrs(datagram, 4096).empty());
}

TEST(NlHelpersTest, BufferBelowAHeaderIsReported)
{
    CapturedLog log;
    std::vector<std::uint8_t> buffer(15);
    EXPECT_TRUE(getNlMsgHdrs(buffer, 15).empty());
    EXPECT_EQ(log.count(kChannel, Level::progress, "Not enough space for nlMsgHdr!"), 1U);
}

TEST(NlHelpersTest, SocketThatCannotBeHadIsReported)
{
    CapturedLog log;
    EXPECT_EQ(openSocket(AF_NETLINK, 63, SOCK_RAW), -1);
    EXPECT_EQ(errno, EPROTONOSUPPORT);
    EXPECT_EQ(log.count(kChannel, Level::error, "socket() error! (errno: Protocol not supported)"), 1U);
}

TEST(NlHelpersTest, FailedReceiveIsReportedAndKeepsItsReason)
{
    CapturedLog log;
    std::vector<std::uint8_t> buffer(64);
    EXPECT_EQ(recvFrom(buffer, IDS::NlSocket{}, 0), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(log.count(kChannel, Level::progress, "recvFrom() error! (errno: Bad file descriptor)"), 1U);
}

TEST(NlHelpersTest, SignalsDoNotEndAReceive)
{
    CapturedLog log;
    struct sigaction action
    {};
    action.sa_handler = [](int) {}; // no SA_RESTART: recvfrom returns EINTR
    ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);

    IDS::NlSocket socket;
    socket.fd = openSocket(AF_NETLINK, NETLINK_USERSOCK, SOCK_RAW);
    ASSERT_GE(socket.fd, 0);
    sockaddr_nl group{AF_NETLINK, 0, 0, 1};
    ASSERT_EQ(::bind(socket.fd, reinterpret_cast<const sockaddr*>(&group), sizeof group), 0);

    std::atomic<ssize_t> received{-2};
    std::thread reader{[&] {
        std::vector<std::uint8_t> buffer(64);
        received = recvFrom(buffer, socket, 0);
    }};
    for (int round = 0; round < 20; ++round) {
        ::pthread_kill(reader.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds{2});
    }
    EXPECT_EQ(received, -2);
    const auto peer = openSocket(AF_NETLINK, NETLINK_USERSOCK, SOCK_RAW);
    const auto datagram = NetlinkBytes{}.ack(1).bytes;
    ::sendto(peer, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&group), sizeof group);
    reader.join();
    EXPECT_EQ(received, 36);
    EXPECT_TRUE(log.lines().empty());
    closeSocket(peer);
    closeSocket(socket.fd);
}

} // namespace
