#include "io_manager/Nl.h"

#include <chrono>
#include <cstring>
#include <linux/rtnetlink.h>
#include <new>
#include <set>
#include <sys/socket.h>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Eventually.h"
#include "FailingAllocation.h"
#include "NetworkNamespace.h"
#include "TestActiveObject.h"
#include "io_manager/NlCheck.h"

using namespace std::chrono_literals;
using namespace common_;
using namespace io_manager;
using test_support::eventually;

namespace {

constexpr std::uint32_t kUserGroup = 1;
constexpr std::uint32_t kSequence = 7;
constexpr std::uint32_t kPort = 4711;

/// A message of the given size, header included.
std::vector<std::uint8_t> message(std::uint16_t type, std::uint32_t size, std::uint32_t sequence = kSequence,
                                  std::uint32_t port = kPort)
{
    const nlmsghdr header{size, type, 0, sequence, port};
    std::vector<std::uint8_t> bytes(NLMSG_ALIGN(size));
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

/// Used on the active object only.
struct SListener : common_::ListenerBase<common_::INlEvent>
{
    void nl_cmd_result(std::uint32_t sequence, std::int32_t result, const nlmsghdr& message) override
    {
        if (failures > 0) {
            --failures;
            throw std::bad_alloc{};
        }
        calls.insert({sequence, result, message.nlmsg_type});
    }
    void nl_urc(const nlmsghdr& message) override { calls.insert({0, 0, message.nlmsg_type}); }

    std::set<std::tuple<std::uint32_t, std::int32_t, std::uint16_t>> calls;
    unsigned failures = 0; ///< so many results find no memory
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
    std::uint32_t request(std::uint16_t type, std::uint16_t flags, int index = 0)
    {
        const ifinfomsg link{AF_UNSPEC, 0, 0, index, 0, 0};
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&link);
        std::uint32_t sequence = 0;
        ao.run([&] { sequence = nl->sendRequest("request", type, flags, {bytes, sizeof link}); });
        return sequence;
    }
    std::uint32_t sequenceNow() const
    {
        std::uint32_t sequence = 0;
        ao.run([&] { sequence = nl->sequenceOf("request"); });
        return sequence;
    }
    /// More messages than the socket has room for, while nothing is taken. They have been read when it returns.
    void overrun()
    {
        const auto before = log.count("CON_LIB_NL", tracing::Level::error, "recvmsg: No buffer space available");
        ao.run([&] { send(64, 100, 5000); });
        EXPECT_TRUE(eventually([&] {
            send(64, 101);
            return isReported(101);
        }));
        EXPECT_GT(log.count("CON_LIB_NL", tracing::Level::error, "recvmsg: No buffer space available"), before);
        ao.run([this] { listener.calls.clear(); });
    }
    /// Stands for the kernel: sends a message to whoever receives the user group.
    void send(std::uint32_t size, std::uint16_t type, int count = 1) const
    {
        const auto bytes = message(type, size, 0, 0);
        const sockaddr_nl group{AF_NETLINK, 0, 0, kUserGroup};
        for (; count > 0; --count) { // a receiver that is full is no error of ours
            ::sendto(peer.get(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&group),
                     sizeof group);
        }
    }
    /// Whether the listener received the message; notifications have no sequence number and result.
    bool isReported(std::uint16_t type, std::uint32_t sequence = 0, std::int32_t result = 0) const
    {
        bool found = false;
        ao.run([&] { found = listener.calls.contains({sequence, result, type}); });
        return found;
    }

    test_support::CapturedLog log;
    test_support::NetworkNamespace network;
    test_support::TestActiveObject ao;
    SListener listener;
    std::shared_ptr<IoManRunner> runner = std::make_shared<IoManRunner>(std::make_shared<CFdManager>(), 60000);
    UniqueFd peer{::socket(AF_NETLINK, SOCK_RAW, NETLINK_USERSOCK)};
    std::unique_ptr<Nl> nl;
};

TEST_F(NlTest, RefusedRequestFailsAndTheNextGivesItsLinksAndThenItsEnd)
{
    make(NETLINK_ROUTE, 0);
    const auto refused = request(RTM_GETLINK, 0, 123456);
    EXPECT_TRUE(eventually([&] { return isReported(NLMSG_ERROR, refused, -1); }));
    const auto sequence = request(RTM_GETLINK, NLM_F_DUMP);
    EXPECT_NE(sequence, refused);
    EXPECT_EQ(nl->sequenceOf("request"), sequence);
    EXPECT_TRUE(eventually([&] { return isReported(RTM_NEWLINK, sequence, 0); }));
    EXPECT_TRUE(eventually([&] { return isReported(NLMSG_DONE, sequence, 1); }));
}

TEST_F(NlTest, DumpIsRequestedAgainAfterAnOverrunUnlessItWasRefused)
{
    if (!network.entered()) {
        GTEST_SKIP() << network.why();
    }
    peer = UniqueFd{::socket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE)};
    make(NETLINK_ROUTE, kUserGroup);
    const auto refused = request(RTM_MAX + 1, NLM_F_DUMP);
    ASSERT_TRUE(eventually([&] { return isReported(NLMSG_ERROR, refused, -1); }));
    overrun();
    EXPECT_EQ(sequenceNow(), refused);
    const auto unanswered = request(NLMSG_NOOP, NLM_F_DUMP);
    overrun();
    EXPECT_TRUE(eventually([&] { return sequenceNow() > unanswered; }));
}

TEST_F(NlTest, DumpIsRequestedAgainAfterAPartFoundNoMemory)
{
    make(NETLINK_ROUTE, 0);
    ao.run([this] { listener.failures = 1; });
    const auto first = request(RTM_GETLINK, NLM_F_DUMP);
    EXPECT_TRUE(eventually([&] { return isReported(NLMSG_DONE, first + 1, 1); }));
    EXPECT_TRUE(isReported(RTM_NEWLINK, first + 1, 0));
    EXPECT_FALSE(isReported(NLMSG_DONE, first, 1));
}

TEST_F(NlTest, RefusedWatchLeavesALine)
{
    tracing::setThresholds("*=5"); // the recorder needs memory as well
    const auto refused = [this] { return log.count("CON_LIB_NL", tracing::Level::resource, "Cannot watch fd") == 1; };
    for (unsigned after = 0; after < 20 && !refused(); ++after) {
        ao.run([&] {
            const test_support::FailingAllocation failing{test_support::FailingAllocation::Kind::throwing, 1, after};
            try {
                nl = std::make_unique<Nl>(ao.factory(), NETLINK_ROUTE, 0, runner);
            } catch (const std::bad_alloc&) { // one that is needed before
            }
        });
    }
    EXPECT_TRUE(refused());
}

TEST_F(NlTest, DatagramThatIsTooLongIsLostAndTheNextIsRead)
{
    make(NETLINK_USERSOCK, kUserGroup);
    send(8196, 100);
    send(8192, 101);
    EXPECT_TRUE(eventually([&] { return isReported(101); }));
    EXPECT_TRUE(log.waitFor("Packet from netlink is bigger than we can handle 8196 > 8192"));
    EXPECT_FALSE(isReported(100));
}

TEST_F(NlTest, LaggingActiveObjectStopsTheReadingUntilItCatchesUpButNotTheDestruction)
{
    make(NETLINK_USERSOCK, kUserGroup);
    ao.run([&] {
        send(64, 100, 5000);
        std::this_thread::sleep_for(50ms);
        EXPECT_LE(log.count("CON_LIB_NL", tracing::Level::detail, "recv'd len"), 65U);
    });
    EXPECT_TRUE(log.waitFor("recvmsg: No buffer space available"));
    // The kernel gives an overrun socket nothing new before it is empty.
    EXPECT_TRUE(eventually([&] {
        send(64, 101);
        return isReported(101);
    }));
    ao.run([&] {
        send(64, 100, 100);
        std::this_thread::sleep_for(50ms);
        const auto start = std::chrono::steady_clock::now();
        nl.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
    });
}

TEST(NlCheckTest, DatagramIsSplitIntoTheResponsesTheEndAndWhatWasNotAskedFor)
{
    const test_support::CapturedLog log;
    std::vector<std::uint8_t> datagram;
    for (const auto& part : {message(16, 21), message(20, 16, kSequence - 1), message(20, 16, kSequence, kPort + 1),
                             message(NLMSG_ERROR, 36), message(NLMSG_DONE, 20)})
    {
        datagram.insert(datagram.end(), part.begin(), part.end());
    }
    const auto check = checkMessages(datagram, kSequence, kPort);
    EXPECT_EQ(check.result, 1);
    EXPECT_EQ(check.responses, 1U) << "the acknowledgement is none";
    EXPECT_EQ(check.unsolicited, 2U);

    EXPECT_EQ(checkMessages(message(NLMSG_ERROR, 20), kSequence, kPort).result, 0) << "truncated";
}

} // namespace
