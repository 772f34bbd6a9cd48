#include "CConntrack.h"

#include <algorithm>
#include <arpa/inet.h>
#include <fstream>
#include <linux/netfilter/nfnetlink_conntrack.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "NetworkNamespace.h"
#include "NlHelpers.h"
#include "io_manager/UniqueFd.h"

using namespace ids;
using namespace test_support;
using Bytes = std::vector<std::uint8_t>;

namespace {

const std::string kTranslated = "Family = AF_INET Ip: src=10.0.0.2 dst=10.0.0.1sport=";

/// A message as a kernel has sent it, with the first occurrence of the bytes exchanged for others.
Bytes message(const std::string& name, const Bytes& from = {}, const Bytes& to = {})
{
    std::ifstream file{FUZZ_CORPUS "/conntrack/" + name, std::ios::binary};
    Bytes bytes{std::istreambuf_iterator<char>{file}, {}};
    std::copy(to.begin(), to.end(), std::search(bytes.begin(), bytes.end(), from.begin(), from.end()));
    return bytes;
}

class CConntrackTest : public ::testing::Test, public common_::ListenerBase<IConntrackListener>
{
protected:
    CConntrackTest() { conntrack.addListener(this); }
    void updateFromCtrk(const SConntrackInfo& info) override { protocols += info.protocolName + ' '; }

    int take(Bytes batch) { return conntrack.ct_event_cb(IDS::NlHelpers::getNlMsgHdrs(batch, batch.size())); }
    std::size_t errors(const char* text) const { return log.count("CON_IDS_CONNTRACK", tracing::Level::error, text); }

    CapturedLog log;
    CConntrack conntrack{nullptr};
    std::string protocols; ///< of the updates
};

TEST_F(CConntrackTest, EachBatchTellsItsLastMessageAndWhatIsMissingIsLogged)
{
    take(message("two"));
    EXPECT_TRUE(log.waitFor(kTranslated + "40001 dport=80 udp Msg status = delete"));
    take(message("icmp", {5, 0, 6, 0, 0}, {5, 0, 6, 0, 3})); // a code
    take(message("icmp", {5, 0, 5, 0, 8}, {5, 0, 5, 0, 0})); // an echo reply
    EXPECT_EQ(errors("NAT ID is missing in Netlink message"), 1U);
    take(message("udp", {5, 0, 1, 0, 17}, {5, 0, 1, 0, 253}));
    EXPECT_EQ(errors("Protocol is unknown"), 1U);
    take(message("tcp", {10, 0, 0, 2}, {0, 0, 0, 0}));
    EXPECT_EQ(errors("IP address is missing in Netlink message"), 1U);
    take(message("ipv6"));
    EXPECT_EQ(protocols, "udp icmp icmp  tcp ");

    conntrack.updateFromCtrk({.sourceIpv6{0xFD}, .destinationIpv6{}, .family = AF_INET6, .protocolName{}});
    EXPECT_TRUE(log.waitFor("Family = AF_INET6 Ip: src=fd00:: dst=:: sport=0 dport=0  Msg status = unknown"));
}

TEST_F(CConntrackTest, WhatIsNoMessageEndsTheBatchAndNoDamageIsReadBeyond)
{
    EXPECT_EQ(conntrack.ct_event_cb({nullptr}), -1);
    EXPECT_EQ(take(message("tcp", {5, 0, 1, 0, 6}, {6, 0, 1, 0, 6})), -1) << "a protocol of two bytes";
    EXPECT_EQ(take(message("tcp", {212}, {19})), -1) << "shorter than any";
    const auto whole = message("tcp");
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (const int damage : {1, 2, 3, 4, 8, 0x10, 0x40, 0x80, 0xFF}) {
            auto damaged = whole;
            damaged[place] = static_cast<std::uint8_t>(damaged[place] ^ damage);
            EXPECT_LE(take(damaged), 0);
        }
    }
}

TEST_F(CConntrackTest, WhatTheKernelTracksIsToldWithTranslatedAddressesAndOriginalPorts)
{
    const NetworkNamespace network;
    if (!network.entered() || !network.run("echo 40000 40000 >/proc/sys/net/ipv4/ip_local_port_range &&"
                                           "ip addr add 10.0.0.1/24 dev lo && nft 'add table inet t;"
                                           "add chain inet t out { type nat hook output priority -100; };"
                                           "add rule inet t out ip daddr 10.0.0.9 dnat ip to 10.0.0.2;"
                                           "add chain inet t in { type filter hook input priority 0; };"
                                           "add rule inet t in ct state new drop'"))
    {
        GTEST_SKIP() << "no network with connection tracking: " << network.why();
    }
    sendUdp(5000, 1); // by IPv6
    const sockaddr_in server{AF_INET, htons(80), {::inet_addr("10.0.0.9")}, {}};
    for (const int type : {SOCK_STREAM, SOCK_DGRAM, SOCK_RAW}) {
        const io_manager::UniqueFd client{::socket(AF_INET, type | SOCK_NONBLOCK, type == SOCK_RAW ? IPPROTO_ICMP : 0)};
        ::connect(client.get(), reinterpret_cast<const sockaddr*>(&server), sizeof server);
        ::send(client.get(), "\x8\0\xE5\xCB\x12\x34\0", 8, 0); // for ICMP an echo request
    }

    const io_manager::UniqueFd kernel{IDS::NlHelpers::openSocket(AF_NETLINK, NETLINK_NETFILTER, SOCK_RAW)};
    Bytes dump(1 << 16);
    IDS::NlHelpers::setNlMsgHdr(NLM_F_REQUEST | NLM_F_DUMP, *reinterpret_cast<nlmsghdr*>(dump.data()), 20,
                                NFNL_SUBSYS_CTNETLINK << 8 | IPCTNL_MSG_CT_GET, 0, 0);
    ::send(kernel.get(), dump.data(), 20, 0);
    EXPECT_GT(::recv(kernel.get(), dump.data(), dump.size(), 0), 0);
    const auto messages = IDS::NlHelpers::getNlMsgHdrs(dump, dump.size());
    EXPECT_EQ(messages.size(), 4U);
    for (auto* const one : messages) {
        EXPECT_EQ(conntrack.ct_event_cb({one}), 0);
    }
    for (const auto* const record : {"40000 dport=80 tcp", "40000 dport=80 udp", "4660 dport=2048 icmp"}) {
        EXPECT_TRUE(log.waitFor(kTranslated + record + " Msg status = add")) << record;
    }
}

} // namespace
