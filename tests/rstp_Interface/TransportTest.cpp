#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <mutex>
#include <numeric>

#include "Accounts.h"
#include "CIDS_Event.h"
#include "CapturedLog.h"
#include "Eventually.h"
#include "FailingAllocation.h"
#include "ForkedProcess.h"
#include "RecordedErrors.h"
#include "RstpInterfaceHandler.h"
#include "TestActiveObject.h"

namespace {

using namespace test_support;
using tracing::Level;
using Bytes = std::vector<std::uint8_t>;
using Handler = common_::RstpInterfaceHandler<CIDS_Event, IIDS_EventIncoming>;

constexpr auto kChannel = "CON_COMMON_RSTP";

/// An IDS event whose payload is the number and then as many zeros as fill the frame.
Bytes frameOf(std::uint32_t number, std::size_t size = 12)
{
    Bytes frame{1,    static_cast<std::uint8_t>(0x40 | (size - 3) >> 8), static_cast<std::uint8_t>(size - 3),
                0x14, static_cast<std::uint8_t>(0x40 | (size - 6) >> 8), static_cast<std::uint8_t>(size - 6)};
    for (int shift = 24; shift >= 0; shift -= 8) {
        frame.push_back(static_cast<std::uint8_t>(number >> shift));
    }
    frame.resize(size);
    return frame;
}

/// What has come in, on the active object.
struct Incoming final : IIDS_EventIncoming
{
    void onConnectionStateChanged(bool connected) override { states.push_back(connected); }

    void onIdsEvent(Bytes payload) override
    {
        lastSize = payload.size();
        numbers.push_back(std::accumulate(payload.begin(), payload.begin() + 4, 0U,
                                          [](std::uint32_t sum, std::uint8_t byte) { return sum << 8 | byte; }));
    }

    std::vector<bool> states;
    std::vector<std::uint32_t> numbers;
    std::size_t lastSize = 0;
};

struct TransportTest : testing::Test
{
    ~TransportTest() override
    {
        destroy();
        std::filesystem::remove(path);
    }

    void start()
    {
        activeObject.run([this] {
            handler = std::make_unique<Handler>(activeObject.factory(), path);
            ASSERT_TRUE(handler->init(&incoming, "RstpDecoderChannel"));
        });
    }

    void destroy()
    {
        activeObject.run([this] { handler.reset(); });
    }

    std::unique_ptr<UnixSocket::CSocketFileHandle> acceptHandler() const
    {
        auto peer = std::make_unique<UnixSocket::CSocketFileHandle>(logger, true);
        EXPECT_EQ(peer->open(path, 0, SOCK_SEQPACKET, 0), 0U);
        return peer;
    }

    static void send(UnixSocket::CSocketFileHandle& peer, const Bytes& frame)
    {
        ASSERT_EQ(peer.write(frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
    }

    bool arrived(const std::vector<std::uint32_t>& numbers)
    {
        return eventually([&] {
            bool same = false;
            activeObject.run([&] { same = incoming.numbers == numbers; });
            return same;
        });
    }

    bool connectionStates(const std::vector<bool>& states)
    {
        return eventually([&] {
            bool same = false;
            activeObject.run([&] { same = incoming.states == states; });
            return same;
        });
    }

    const CapturedLog log;
    const IplLogger logger{s_rstpChannel};
    const std::string path = testing::TempDir() + "rstp-" + std::to_string(::getpid());
    const TestActiveObject activeObject{};
    Incoming incoming;
    std::unique_ptr<Handler> handler;
};

TEST_F(TransportTest, APeerIsFoundWhenItComesAndComesBackAndNothingItSentIsLost)
{
    start();
    ASSERT_TRUE(log.waitFor("Failed to open '" + path + "' (errno=No such file or directory)"));
    EXPECT_GE(log.count(kChannel, Level::error, "connect(" + path + ")=No such file or directory"), 1U);
    auto peer = acceptHandler();
    ASSERT_TRUE(connectionStates({true}));
    EXPECT_EQ(log.count(kChannel, Level::progress, "RSTP::threadLoop"), 1U) << "connected";
    for (std::uint32_t number = 0; number < 5; ++number) {
        send(*peer, frameOf(number));
    }
    peer.reset();
    ASSERT_TRUE(arrived({0, 1, 2, 3, 4})) << "also what waited when the peer went";
    ASSERT_TRUE(connectionStates({true, false}));
    EXPECT_EQ(log.count(kChannel, Level::resource, "'" + path + "' lost"), 1U);
    EXPECT_EQ(log.count(kChannel, Level::error,
                        "decodePayload(62): ERROR (DECODING): Nothing to read or PeerShutdown : 0 (channel: 33)"),
              1U);

    peer = acceptHandler();
    send(*peer, frameOf(5));
    ASSERT_TRUE(arrived({0, 1, 2, 3, 4, 5}));
    EXPECT_TRUE(connectionStates({true, false, true}));
}

TEST_F(TransportTest, APeerOfAnotherUserIsNotListenedTo)
{
    if (!canChangeAccount()) {
        GTEST_SKIP() << kNoOtherAccounts;
    }
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const ForkedProcess stranger{[&address] {
        const auto listener = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
        if (::setuid(65534) == 0 && ::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        {
            ::listen(listener, 1);
        }
    }};
    start();
    ASSERT_TRUE(log.waitFor("of user 65534, which is not trusted"));
    EXPECT_TRUE(log.waitFor("Failed to open '" + path + "' (errno=Operation not permitted)"));
    EXPECT_TRUE(connectionStates({}));
}

TEST_F(TransportTest, ADatagramOf4096BytesIsWholeAndALargerOneIsCut)
{
    start();
    const auto peer = acceptHandler();
    send(*peer, frameOf(7, 4096));
    ASSERT_TRUE(arrived({7}));
    EXPECT_EQ(incoming.lastSize, 4090U);
    send(*peer, frameOf(8, 4097));
    EXPECT_TRUE(log.waitFor("extractMsg(475): Message length mismatch! Expected=4094, received=4093"));
    send(*peer, frameOf(9));
    EXPECT_TRUE(arrived({7, 9}));
}

TEST_F(TransportTest, AnEmptyDatagramCountsAsAGoodbyeThatNobodyIsToldOf)
{
    start();
    const auto peer = acceptHandler();
    send(*peer, {});
    ASSERT_TRUE(log.waitFor("PeerShutdown : 0"));
    EXPECT_TRUE(connectionStates({true, true}));
}

TEST_F(TransportTest, AnActiveObjectThatLagsHoldsBackThePeerAndTheLogSaysSoOnce)
{
    start();
    const auto peer = acceptHandler();
    ASSERT_TRUE(connectionStates({true}));
    std::promise<void> goOn;
    std::promise<void> lagging;
    auto lag = std::async(std::launch::async, [&] {
        activeObject.run([&] {
            lagging.set_value();
            goOn.get_future().wait();
        });
    });
    lagging.get_future().wait();

    // As much as the socket takes: the handler has read no more than it may post.
    std::uint32_t sent = 0;
    bool full = false;
    while (!full) {
        const auto frame = frameOf(sent, 4096);
        full = ::send(peer->fileDescriptor(), frame.data(), frame.size(), MSG_DONTWAIT) < 0 &&
               log.count(kChannel, Level::warning, "reading is held back") == 1;
        sent += full ? 0 : 1;
        ASSERT_LT(sent, 100'000'000U);
    }
    EXPECT_EQ(log.count(kChannel, Level::detail, "Frame ready -> decode"), 65U);
    goOn.set_value();
    lag.wait();
    const auto frame = frameOf(0xFFFFFFFF);
    send(*peer, frame);
    ASSERT_TRUE(eventually([&] {
        bool last = false;
        activeObject.run([&] { last = !incoming.numbers.empty() && incoming.numbers.back() == 0xFFFFFFFF; });
        return last;
    }));
    EXPECT_TRUE(std::is_sorted(incoming.numbers.begin(), incoming.numbers.end()));
    EXPECT_EQ(log.count(kChannel, Level::warning, "reading is held back"), 1U);
}

TEST_F(TransportTest, DestructionEndsEveryWaitAtOnce)
{
    const auto tookLong = [this] {
        const auto begin = std::chrono::steady_clock::now();
        destroy();
        return std::chrono::steady_clock::now() - begin > std::chrono::milliseconds{400};
    };
    start();
    ASSERT_TRUE(log.waitFor("Failed to open"));
    EXPECT_FALSE(tookLong()) << "waiting to try again";

    start();
    auto peer = acceptHandler();
    ASSERT_TRUE(log.waitFor("nothing received"));
    EXPECT_FALSE(tookLong()) << "waiting for frames";
    EXPECT_EQ(log.count(kChannel, Level::resource, "exiting"), 2U);

    peer.reset();
    start();
    peer = acceptHandler();
    ASSERT_TRUE(connectionStates({true, true}));
    activeObject.run([&] {
        for (std::uint32_t number = 0; number < 100; ++number) {
            send(*peer, frameOf(number));
        }
        ASSERT_TRUE(log.waitFor("reading is held back"));
        handler.reset();
    });
    EXPECT_EQ(log.count(kChannel, Level::resource, "exiting"), 3U);
}

TEST_F(TransportTest, WithoutMemoryOrAFactoryThereIsNoTransport)
{
    activeObject.run([this] {
        Handler transport{activeObject.factory(), path};
        for (const auto* const text : {"No memory!", "Couldn't allocate dispatch thread"}) {
            const FailingAllocation failing{FailingAllocation::Kind::nonThrowing, 1, text[0] == 'N' ? 0U : 1U};
            EXPECT_FALSE(transport.init(&incoming, "Rstp"));
            EXPECT_EQ(log.lines().back().text.substr(log.lines().back().text.find(": ") + 2), text);
        }
        EXPECT_TRUE(transport.init(&incoming, "Rstp"));
        EXPECT_TRUE(transport.init(&incoming, "Rstp")) << "is started once";
        EXPECT_EQ(log.count(kChannel, Level::detail, "Dispatch thread created"), 1U);
    });
    const RecordedErrors errors;
    UnixSocket::CSocketFileHandle socket{logger, false};
    try {
        CIDS_Event{socket, incoming, nullptr, logger};
        ADD_FAILURE();
    } catch (const FatalAssertion& assertion) {
        EXPECT_EQ(assertion.place, "rstp_Interface/include/RstpInterfaceActiveObject:29 RstpInterfaceActiveObject");
        EXPECT_EQ(assertion.expression, "activeObjectFactory.valid()");
        EXPECT_EQ(assertion.message, "Active Object Factory invalid!");
    }
}

TEST_F(TransportTest, ASocketThatIsNotConnectedRefusesAndOneThatIsWritesBothWays)
{
    UnixSocket::CSocketFileHandle client{logger, false};
    EXPECT_EQ(client.write("x", 1), -1);
    EXPECT_EQ(client.open(std::string(108, 'x'), 0, SOCK_SEQPACKET, 0), 0xFFFFFFFF);
    EXPECT_EQ(client.lastError(), ENAMETOOLONG);
    EXPECT_EQ(log.count(kChannel, Level::error, "Error in copying path File name too long"), 1U);

    auto accepted = std::async(std::launch::async, [this] { return acceptHandler(); });
    ASSERT_TRUE(eventually([&] { return client.open(path, 0, SOCK_SEQPACKET, 0) == 0; }));
    auto peer = accepted.get();
    std::array<char, 8> buffer{};
    EXPECT_EQ(client.read(buffer.data(), buffer.size()), -1) << "nothing there";
    EXPECT_EQ(client.write("abc", 3), 3);
    ASSERT_EQ(peer->read(buffer.data(), buffer.size()), 3);
    EXPECT_STREQ(buffer.data(), "abc");
    peer.reset();
    EXPECT_EQ(client.write("x", 1), -1);
    EXPECT_FALSE(client.isOpen());
    EXPECT_EQ(log.count(kChannel, Level::error, "Cannot sent data, reconnect! result: 1, revents: 0014"), 1U);
}

} // namespace
