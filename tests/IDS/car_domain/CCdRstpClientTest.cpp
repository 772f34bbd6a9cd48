#include <gmock/gmock.h>
#include <unistd.h>

#include "CCdRstpClient.h"
#include "CapturedLog.h"
#include "Eventually.h"
#include "TestActiveObject.h"

namespace {

using namespace test_support;
using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;
using Calls = std::vector<std::pair<int, Bytes>>;

struct Listener final : common_::ListenerBase<ids::ICdRstpClientListener>
{
    Listener(int listenerNumber, Calls& listenerCalls) : number{listenerNumber}, calls{listenerCalls} {}

    void onEventFromCarDomain(const Bytes& payload) override { calls.emplace_back(number, payload); }

    int number;
    Calls& calls;
};

TEST(CCdRstpClientTest, EventsGoToEveryListenerAsTheyCameAndConnectionsToNobody)
{
    const CapturedLog log;
    const IplLogger logger{s_rstpChannel};
    const auto path = testing::TempDir() + "car-" + std::to_string(::getpid());
    const TestActiveObject activeObject;
    Calls calls;
    Listener first{1, calls};
    Listener second{2, calls};
    std::unique_ptr<ids::CCdRstpClient> client;
    activeObject.run([&] {
        client = std::make_unique<ids::CCdRstpClient>(activeObject.factory(), path);
        EXPECT_TRUE(client->init());
        EXPECT_TRUE(client->init());
    });
    UnixSocket::CSocketFileHandle peer{logger, true};
    ASSERT_EQ(peer.open(path, 0, SOCK_SEQPACKET, 0), 0U);
    const auto send = [&peer](const Bytes& frame) { peer.write(frame.data(), frame.size()); };
    const auto called = [&](std::size_t count) {
        return eventually([&] {
            std::size_t now = 0;
            activeObject.run([&] { now = calls.size(); });
            return now == count;
        });
    };

    const auto waits = [&log] { return log.count("CON_COMMON_RSTP", tracing::Level::detail, "nothing received"); };
    send({1, 3, 0x14, 1, 9});
    ASSERT_TRUE(eventually([&] { return waits() > 0; })) << "read, with nobody listening";
    activeObject.run([&] {
        client->addListener(&second);
        client->addListener(&first);
    });
    send({1, 5, 0x14, 3, 7, 8, 9});
    ASSERT_TRUE(called(2));
    send({1, 0});
    ASSERT_TRUE(called(4));
    activeObject.run([&] { client.reset(); });
    ::unlink(path.c_str());
    EXPECT_THAT(calls, ElementsAre(std::pair{2, Bytes{7, 8, 9}}, std::pair{1, Bytes{7, 8, 9}}, std::pair{2, Bytes{}},
                                   std::pair{1, Bytes{}}));
}

} // namespace
