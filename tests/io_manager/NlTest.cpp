#include "io_manager/Nl.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <linux/rtnetlink.h>
#include <mutex>
#include <sys/socket.h>
#include <thread>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "NetworkNamespace.h"
#include "TestActiveObject.h"

using namespace std::chrono_literals;
using namespace io_manager;
using common_::Nl;
using test_support::CapturedLog;
using tracing::Level;

namespace {

constexpr std::uint32_t kIpv6Addresses = 0x100;
constexpr std::uint32_t kUserGroup = 1;

class Listener : public common_::ListenerBase<common_::INlEvent>
{
public:
    struct SResult
    {
        std::uint32_t sequence;
        std::int32_t result;
        std::uint16_t type;
    };

    void nl_cmd_result(std::uint32_t sequence, std::int32_t result, const nlmsghdr& message) override
    {
        const std::lock_guard lock{m_mutex};
        m_results.push_back({sequence, result, message.nlmsg_type});
        m_changed.notify_all();
    }
    void nl_urc(const nlmsghdr& message) override
    {
        const std::lock_guard lock{m_mutex};
        m_notifications.push_back(message.nlmsg_type);
        m_changed.notify_all();
    }

    template <typename Condition>
    bool waitUntil(Condition condition)
    {
        std::unique_lock lock{m_mutex};
        return m_changed.wait_for(lock, 5s, [&] { return condition(m_results, m_notifications); });
    }
    bool waitForResult(std::int32_t wanted)
    {
        return waitUntil(
            [wanted](const auto& results, const auto&) { return !results.empty() && results.back().result == wanted; });
    }
    bool waitForNotification(std::uint16_t type)
    {
        return waitUntil([type](const auto&, const auto& notifications) {
            return std::find(notifications.begin(), notifications.end(), type) != notifications.end();
        });
    }
    bool has(std::uint16_t type)
    {
        const std::lock_guard lock{m_mutex};
        return std::find(m_notifications.begin(), m_notifications.end(), type) != m_notifications.end();
    }
    std::vector<SResult> results()
    {
        const std::lock_guard lock{m_mutex};
        return m_results;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<SResult> m_results;
    std::vector<std::uint16_t> m_notifications;
};

class NlTest : public ::testing::Test
{
protected:
    ~NlTest() override
    {
        ao.run([this] { nl.reset(); });
    }

    void make(int protocol, std::uint32_t groups)
    {
        ao.run([&] {
            nl = std::make_unique<Nl>(ao.factory(), protocol, groups, runner);
            nl->addListener(&listener);
        });
    }
    std::uint32_t request(std::uint16_t type, std::uint16_t flags, const std::vector<std::uint8_t>& body)
    {
        std::uint32_t sequence = 0;
        ao.run([&] { sequence = nl->sendRequest("request", type, flags, body); });
        return sequence;
    }

    CapturedLog log;
    test_support::NetworkNamespace network;
    test_support::TestActiveObject ao;
    Listener listener;
    std::shared_ptr<IoManRunner> runner = std::make_shared<IoManRunner>(std::make_shared<CFdManager>(), 60000);
    std::unique_ptr<Nl> nl;
};

/// Stands for the kernel: sends whatever a test wants to whoever receives the user group.
class Peer
{
public:
    Peer() : m_socket{::socket(AF_NETLINK, SOCK_RAW, NETLINK_USERSOCK)} {}

    void send(std::size_t size, std::uint16_t type) const
    {
        std::vector<std::uint8_t> bytes(size);
        const nlmsghdr header{static_cast<std::uint32_t>(size), type, 0, 0, 0};
        std::copy_n(reinterpret_cast<const std::uint8_t*>(&header), sizeof header, bytes.begin());
        sockaddr_nl group{AF_NETLINK, 0, 0, kUserGroup};
        // A receiver that is full is no error of ours.
        ::sendto(m_socket.get(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&group),
                 sizeof group);
    }

private:
    UniqueFd m_socket;
};

TEST_F(NlTest, LinkDumpGivesItsLinksAndThenItsEnd)
{
    if (!network.entered()) {
        GTEST_SKIP() << network.why();
    }
    make(NETLINK_ROUTE, kIpv6Addresses);
    const auto sequence = request(RTM_GETLINK, NLM_F_DUMP, std::vector<std::uint8_t>(sizeof(ifinfomsg)));
    ASSERT_NE(sequence, 0U);
    EXPECT_EQ(nl->sequenceOf("request"), sequence);
    EXPECT_EQ(nl->sequenceOf("other"), 0U);
    ASSERT_TRUE(listener.waitForResult(1));
    const auto results = listener.results();
    ASSERT_GE(results.size(), 2U);
    EXPECT_EQ(results.front().result, 0);
    EXPECT_EQ(results.front().type, RTM_NEWLINK);
    EXPECT_EQ(results.back().sequence, sequence);
}

TEST_F(NlTest, RefusedRequestFailsAndTheNextOneIsAnswered)
{
    make(NETLINK_ROUTE, 0);
    ifinfomsg nobody{};
    nobody.ifi_index = 123456;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&nobody);
    const auto first = request(RTM_GETLINK, 0, {bytes, bytes + sizeof nobody});
    ASSERT_TRUE(listener.waitForResult(-1));
    EXPECT_EQ(listener.results().back().sequence, first);

    const auto second = request(RTM_GETLINK, NLM_F_DUMP, std::vector<std::uint8_t>(sizeof(ifinfomsg)));
    EXPECT_NE(second, first);
    EXPECT_TRUE(listener.waitForResult(1));
}

TEST_F(NlTest, AddressSetByAnotherProcessIsANotification)
{
    if (!network.entered()) {
        GTEST_SKIP() << network.why();
    }
    make(NETLINK_ROUTE, kIpv6Addresses);
    ASSERT_TRUE(network.run("ip -6 addr add fd00::1/64 dev lo"));
    EXPECT_TRUE(listener.waitForNotification(RTM_NEWADDR));
    ASSERT_TRUE(network.run("ip -6 addr del fd00::1/64 dev lo"));
    EXPECT_TRUE(listener.waitForNotification(RTM_DELADDR));
    EXPECT_TRUE(listener.results().empty());
}

TEST_F(NlTest, DatagramThatIsTooLongIsLostAndTheNextIsRead)
{
    make(NETLINK_USERSOCK, kUserGroup);
    const Peer peer;
    peer.send(8196, 100);
    peer.send(8192, 101);
    EXPECT_TRUE(listener.waitForNotification(101));
    EXPECT_EQ(log.count("CON_LIB_NL", Level::error, "Packet from netlink is bigger than we can handle 8196 > 8192"),
              1U);
    EXPECT_FALSE(listener.has(100));
}

TEST_F(NlTest, LaggingActiveObjectStopsTheReadingUntilItCatchesUp)
{
    make(NETLINK_USERSOCK, kUserGroup);
    const Peer peer;
    ao.run([&] {
        for (int sent = 0; sent < 2000; ++sent) {
            peer.send(64, 100);
        }
        std::this_thread::sleep_for(50ms);
        EXPECT_LE(log.count("CON_LIB_NL", Level::detail, "recv'd len"), 65U);
    });
    EXPECT_TRUE(log.waitFor("recvmsg: No buffer space available"));
    // The kernel gives an overrun socket nothing new before it is empty.
    for (int attempt = 0; attempt < 100 && !listener.has(101); ++attempt) {
        peer.send(64, 101);
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_TRUE(listener.has(101));
}

TEST_F(NlTest, DestructionDoesNotWaitForTheActiveObjectThatLags)
{
    make(NETLINK_USERSOCK, kUserGroup);
    const Peer peer;
    ao.run([&] {
        for (int sent = 0; sent < 100; ++sent) {
            peer.send(64, 100);
        }
        std::this_thread::sleep_for(50ms);
        const auto start = std::chrono::steady_clock::now();
        nl.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
    });
}

TEST_F(NlTest, WithoutSocketRequestsAreRefused)
{
    make(63, 0);
    EXPECT_EQ(request(RTM_GETLINK, NLM_F_DUMP, {}), 0U);
    EXPECT_EQ(log.count("CON_LIB_NL", Level::resource, "Socket error (Protocol not supported)"), 1U);
    EXPECT_EQ(log.count("CON_LIB_NL", Level::resource, "not adding fd (1,-1)"), 1U);
    EXPECT_EQ(log.count("CON_LIB_NL", Level::error, "fd unitialized (-1)"), 1U);
}

} // namespace
