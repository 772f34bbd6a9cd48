#include "target_common/ifwatch.h"

#include <algorithm>
#include <arpa/inet.h>
#include <iterator>
#include <linux/if_addr.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Eventually.h"
#include "NetworkNamespace.h"
#include "TestActiveObject.h"

using namespace common_;
using namespace test_support;

namespace {

constexpr std::uint32_t kGroups = RTMGRP_LINK | RTMGRP_NEIGH | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;

/// Used on the active object only. What it hears reads "type name [address]".
struct Listener final : ListenerBase<IIfwatchListener>
{
    void interfaceEvent(const IfEvent& event) override
    {
        std::array<char, INET6_ADDRSTRLEN> text{};
        const auto* const v4 = &reinterpret_cast<const sockaddr_in&>(event.address).sin_addr;
        const auto* const v6 = &reinterpret_cast<const sockaddr_in6&>(event.address).sin6_addr;
        const bool isV6 = event.address.ss_family == AF_INET6;
        if (event.address.ss_family != AF_UNSPEC) {
            ::inet_ntop(event.address.ss_family, isV6 ? static_cast<const void*>(v6) : v4, text.data(), text.size());
        }
        heard.push_back(std::to_string(event.type) + ' ' + event.name + ' ' + text.data());
        last = event;
    }
    void linksListed() override { heard.emplace_back("links"); }
    void addressesListed() override { heard.emplace_back("addresses"); }
    void neighbourEvent(const SNeighbourEvent& event) override { neighbours.push_back(event); }

    std::vector<std::string> heard;
    std::vector<SNeighbourEvent> neighbours;
    IfEvent last;
};

/// One message, built by hand.
class Message
{
public:
    template <typename Header>
    Message(std::uint16_t type, const Header& header)
    {
        append(nlmsghdr{0, type, 0, 0, 0});
        append(header);
    }
    Message& attribute(std::uint16_t type, const std::vector<std::uint8_t>& payload)
    {
        append(nlattr{static_cast<std::uint16_t>(sizeof(nlattr) + payload.size()), type});
        std::copy(payload.begin(), payload.end(), std::back_inserter(m_bytes));
        m_bytes.resize(NLMSG_ALIGN(m_bytes.size()));
        return *this;
    }
    const nlmsghdr& cutBy(std::size_t bytes = 0)
    {
        auto& header = *reinterpret_cast<nlmsghdr*>(m_bytes.data());
        header.nlmsg_len = static_cast<std::uint32_t>(m_bytes.size() - bytes);
        return header;
    }

private:
    template <typename T>
    void append(const T& value)
    {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&value);
        std::copy_n(bytes, sizeof value, std::back_inserter(m_bytes));
    }

    std::vector<std::uint8_t> m_bytes;
};

class IfwatchTest : public ::testing::Test
{
protected:
    ~IfwatchTest() override
    {
        ao.run([this] {
            watch.reset();
            nl.reset();
        });
    }
    void make(std::uint32_t groups)
    {
        ao.run([&] {
            nl = std::make_unique<Nl>(ao.factory(), NETLINK_ROUTE, groups, runner);
            watch = std::make_unique<ifwatch>(ao.factory(), *nl);
            watch->addListener(&listener);
        });
    }
    std::size_t heard(const std::string& text) const
    {
        std::ptrdiff_t number = 0;
        ao.run([&] { number = std::count(listener.heard.begin(), listener.heard.end(), text); });
        return static_cast<std::size_t>(number);
    }
    bool hears(const std::string& text, std::size_t times = 1) const
    {
        return eventually([&] { return heard(text) == times; });
    }

    CapturedLog log;
    NetworkNamespace network;
    TestActiveObject ao;
    Listener listener;
    std::shared_ptr<io_manager::IoManRunner> runner =
        std::make_shared<io_manager::IoManRunner>(std::make_shared<io_manager::CFdManager>(), 6000);
    std::unique_ptr<Nl> nl;
    std::unique_ptr<ifwatch> watch;
};

TEST_F(IfwatchTest, WhatTheKernelTellsOfItsInterfacesAddressesAndNeighboursIsPassedOn)
{
    ASSERT_TRUE(network.entered()) << network.why();
    make(kGroups);
    ASSERT_TRUE(hears("addresses"));
    EXPECT_EQ(heard("0 lo "), 1U);
    EXPECT_EQ(heard("6 lo ::1"), 1U);
    EXPECT_EQ(heard("links"), 1U);

    ASSERT_TRUE(network.run("ip link add wlan7 type veth peer name peer7"));
    EXPECT_TRUE(hears("0 wlan7 "));
    EXPECT_TRUE(hears("3 wlan7 "));
    ASSERT_TRUE(network.run("ip link set wlan7 up && ip link set peer7 up"));
    EXPECT_TRUE(eventually([&] { return heard("2 wlan7 ") > 0; }));
    ASSERT_TRUE(network.run("ip addr add 192.0.2.1/24 brd 192.0.2.255 dev wlan7"));
    EXPECT_TRUE(hears("6 wlan7 192.0.2.1", 2)) << "as the address and as the local one";
    EXPECT_TRUE(hears("6 wlan7 192.0.2.255"));
    ASSERT_TRUE(network.run("ip addr add 2001:db8::1/64 dev wlan7"));
    EXPECT_TRUE(hears("6 wlan7 2001:db8::1")) << "after the duplicate address detection";
    ASSERT_TRUE(network.run("ip addr add 2001:db8::2/64 dev wlan7 nodad"));
    EXPECT_TRUE(hears("6 wlan7 2001:db8::2"));
    ASSERT_TRUE(network.run("ip addr del 2001:db8::2/64 dev wlan7"));
    EXPECT_TRUE(hears("7 wlan7 2001:db8::2"));

    ASSERT_TRUE(network.run("ip neigh add 2001:db8::9 lladdr 02:00:00:00:00:09 dev wlan7 nud stale"));
    EXPECT_TRUE(log.waitFor("RTM_NEWNEIGH: (1) 2001:db8::9 has 0000090000000002 on wlan7 (st: NUD_STALE, flags: 0)"));
    ASSERT_TRUE(network.run("ip link del wlan7"));
    EXPECT_TRUE(hears("1 wlan7 "));
    ao.run([this] {
        ASSERT_FALSE(listener.neighbours.empty());
        EXPECT_TRUE(listener.neighbours.front().reachable || listener.neighbours.back().removed == 1);
    });
}

TEST_F(IfwatchTest, OnlyTheStateAtTheStartAndTheGroupsAreHeardOf)
{
    ASSERT_TRUE(network.entered()) << network.why();
    make(RTMGRP_IPV6_IFADDR);
    ASSERT_TRUE(hears("addresses"));
    ASSERT_TRUE(
        network.run("ip link add late0 type veth peer name peer0 && ip addr add 2001:db8::3/64 dev late0 nodad"));
    EXPECT_TRUE(hears("6 late0 2001:db8::3"));
    EXPECT_EQ(heard("0 late0 "), 0U);
}

TEST_F(IfwatchTest, MessagesAreTakenApartAndBadOnesLeaveALine)
{
    make(0);
    const auto tell = [&](const nlmsghdr& message) { ao.run([&] { watch->nl_urc(message); }); };
    ASSERT_TRUE(hears("addresses"));
    const auto link = [](std::uint16_t type, std::uint8_t state) {
        Message message{type, ifinfomsg{AF_UNSPEC, 0, 0, 5, 0, 0}};
        message.attribute(3, {'w', 'l', 'a', 'n', '0', 0}).attribute(1, {1, 2, 3, 4, 5, 6}).attribute(16, {state});
        return message;
    };
    tell(link(RTM_NEWLINK, 6).cutBy());
    tell(link(RTM_NEWLINK, 2).cutBy());
    EXPECT_EQ(heard("0 wlan0 "), 1U);
    EXPECT_EQ(heard("2 wlan0 "), 1U);
    EXPECT_EQ(heard("3 wlan0 "), 1U);
    EXPECT_EQ(listener.last.hardwareAddress, 0x060504030201U);
    EXPECT_EQ(listener.last.operationalState, 2U);
    EXPECT_TRUE(log.waitFor("RTM_NEWLINK: wlan0 (5) 60504030201; operstate: 2"));
    tell(link(RTM_DELLINK, 6).cutBy());
    tell(link(RTM_DELLINK, 6).cutBy());
    EXPECT_EQ(heard("1 wlan0 "), 1U);

    const auto before = listener.heard;
    tell(Message{RTM_NEWLINK, ifinfomsg{AF_UNSPEC, 0, 0, 5, 0, 0}}.cutBy());
    EXPECT_TRUE(log.waitFor("empty interface name"));
    tell(Message{RTM_NEWLINK, ifinfomsg{}}.cutBy(4));
    EXPECT_TRUE(log.waitFor("truncated message of 12 bytes"));
    tell(Message{RTM_NEWROUTE, ifinfomsg{}}.cutBy());
    EXPECT_TRUE(log.waitFor("Unknown netlink nlmsg_type 24"));
    tell(link(RTM_NEWLINK, 6).cutBy(17)); // in the middle of its hardware address
    const ifaddrmsg tentative{AF_INET6, 64, IFA_F_TENTATIVE, 0, 5};
    tell(Message{RTM_NEWADDR, tentative}.attribute(IFA_ADDRESS, std::vector<std::uint8_t>(16)).cutBy());
    const ifaddrmsg failed{AF_INET6, 64, IFA_F_DADFAILED, 0, 5};
    tell(Message{RTM_NEWADDR, failed}.attribute(IFA_ADDRESS, std::vector<std::uint8_t>(16)).cutBy());
    EXPECT_TRUE(log.waitFor("DADFAILED"));
    const ifaddrmsg cut{AF_INET6, 64, 0, 0, 5};
    tell(Message{RTM_NEWADDR, cut}.attribute(IFA_ADDRESS, std::vector<std::uint8_t>(15)).cutBy());
    tell(Message{RTM_DELNEIGH, ndmsg{AF_INET, 0, 0, 5, 12, 0, 0}}.attribute(NDA_DST, {192, 0, 2}).cutBy());
    EXPECT_TRUE(log.waitFor("RTM_DELNEIGH: (0)  has 0000000000000000 on wlan0 (st: 12, flags: 0)"));
    EXPECT_EQ(listener.heard.size(), before.size() + 2) << "a link without the rest of its attributes came and is up";
}

} // namespace
