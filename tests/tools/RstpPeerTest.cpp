#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "ChildProcess.h"
#include "Eventually.h"
#include "Frames.h"
#include "iplbase/NonCopyable.h"

namespace {

using namespace test_support;
using rstp_peer::Bytes;
using testing::ElementsAre;
using testing::HasSubstr;

/// The daemon's end of a channel.
class Client : iplbase::NonCopyable
{
public:
    explicit Client(const std::string& path)
    {
        sockaddr_un address{AF_UNIX, {}};
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
        eventually([&] { return connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0; });
    }
    ~Client() { close(m_socket); }

    /// The next frame; empty at the end, or when none comes in time.
    Bytes read() const
    {
        Bytes frame(rstp_peer::kLargestFrame);
        frame.resize(static_cast<std::size_t>(std::max(recv(m_socket, frame.data(), frame.size(), 0), ssize_t{0})));
        return frame;
    }

    /// The number in the next frame, a generated event of 11 bytes of context data.
    int readNumber() const
    {
        const auto frame = read();
        return frame.size() != 31 ? -1 : frame[27] << 24 | frame[28] << 16 | frame[29] << 8 | frame[30];
    }

private:
    static constexpr timeval kPatience{20, 0};

    const int m_socket = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
};

int count(const std::string& text, const std::string& part)
{
    const auto at = text.find(part);
    return at == std::string::npos ? 0 : 1 + count(text.substr(at + 1), part);
}

class RstpPeerTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(mkdtemp(m_directory.data()), nullptr); }
    void TearDown() override { std::filesystem::remove_all(m_directory); }

    std::string path(const std::string& name) const { return m_directory + "/" + name; }
    std::string write(const std::string& name, const std::string& text) const
    {
        std::ofstream{path(name)} << text;
        return path(name);
    }
    std::vector<std::string> command(const std::vector<std::string>& options) const
    {
        std::vector<std::string> words{RSTP_PEER, "--socket", path("socket")};
        words.insert(words.end(), options.begin(), options.end());
        return words;
    }

private:
    std::string m_directory = std::filesystem::temp_directory_path() / "rstp-peer-XXXXXX";
};

TEST(RstpFrameTest, LengthsTakeTheFewestBytes)
{
    const auto encoded = [](std::uint64_t value) {
        Bytes bytes;
        rstp_peer::appendInteger(bytes, value);
        return bytes;
    };
    EXPECT_THAT(encoded(63), ElementsAre(0x3F));
    EXPECT_THAT(encoded(64), ElementsAre(0x40, 0x40));
    EXPECT_THAT(encoded(16383), ElementsAre(0x7F, 0xFF));
    EXPECT_THAT(encoded(16384), ElementsAre(0x80, 0x00, 0x40, 0x00));
    EXPECT_THAT(encoded(1ULL << 30U), ElementsAre(0xC0, 0, 0, 0, 0x40, 0, 0, 0));
}

TEST_F(RstpPeerTest, FramesArriveWholeAndTheEndLeavesNoSocketBehind)
{
    const auto file = write("frames", "# two frames\n\n01 00\r\n0700 # unknown\n");
    ChildProcess peer{command(
        {"--frame", "01 05 14 03 AA BB CC", "--event", std::string(128, '5'), "--file", file, "--rate", "100"})};
    const Client client{path("socket")};
    EXPECT_THAT(client.read(), ElementsAre(1, 5, 0x14, 3, 0xAA, 0xBB, 0xCC));
    Bytes event(70, 0x55);
    std::ranges::copy(std::array<std::uint8_t, 6>{1, 0x40, 67, 0x14, 0x40, 64}, event.begin());
    EXPECT_EQ(client.read(), event);
    EXPECT_THAT(client.read(), ElementsAre(1, 0));
    EXPECT_THAT(client.read(), ElementsAre(7, 0));
    peer.signal(SIGTERM);
    EXPECT_EQ(peer.wait(), 0);
    EXPECT_THAT(peer.output(), HasSubstr("rstp-peer: frames: 4 sent (81 bytes), 0 lost; connections: 1\n"));
    EXPECT_FALSE(std::filesystem::exists(path("socket")));
}

TEST_F(RstpPeerTest, WhatIsDueWhileNobodyIsConnectedIsLostAndCounted)
{
    ChildProcess peer{command({"--generate", "--size", "11", "--rate", "100", "--verbose"})};
    {
        const Client client{path("socket")};
        EXPECT_EQ(client.readNumber(), 0) << "the first frame waits for the first client";
    }
    ASSERT_TRUE(peer.waitForOutput("client gone"));
    std::this_thread::sleep_for(std::chrono::milliseconds{100});
    const Client client{path("socket")};
    const int number = client.readNumber();
    peer.signal(SIGINT);
    EXPECT_EQ(peer.wait(), 0);
    const auto output = peer.output();
    const auto before = count(output.substr(0, output.find("client gone")), "sent 31 bytes");
    EXPECT_GT(number, before);
    EXPECT_THAT(output, HasSubstr(" " + std::to_string(number - before) + " lost; connections: 2"));
}

TEST_F(RstpPeerTest, AClientThatDoesNotReadIsWaitedForUntilItReadsOrTheEnd)
{
    ChildProcess peer{command({"--generate", "--size", "11", "--rate", "0", "--count", "3000", "--exit"})};
    const Client client{path("socket")};
    ASSERT_TRUE(peer.waitForOutput("client connected"));
    std::this_thread::sleep_for(std::chrono::milliseconds{100}); // until it is full
    for (int number = 0; number < 3000; ++number) {
        ASSERT_EQ(client.readNumber(), number);
    }
    EXPECT_EQ(peer.wait(), 0);

    ChildProcess endless{command({"--generate", "--rate", "0"})};
    const Client idle{path("socket")};
    ASSERT_TRUE(endless.waitForOutput("client connected"));
    endless.signal(SIGTERM);
    EXPECT_EQ(endless.wait(), 0);
}

TEST_F(RstpPeerTest, TakesThePlaceOfADeadPeerOnly)
{
    {
        ChildProcess killed{command({})};
        ASSERT_TRUE(killed.waitForOutput("waiting for a client"));
    }
    ChildProcess peer{command({"--frame", "0100"})};
    ASSERT_TRUE(peer.waitForOutput("waiting for a client"));
    ChildProcess second{command({})};
    EXPECT_EQ(second.wait(), 1);
    EXPECT_THAT(second.output(), HasSubstr("somebody else listens there"));
    EXPECT_THAT(Client{path("socket")}.read(), ElementsAre(1, 0));
    const auto file = write("file", "");
    EXPECT_EQ(ChildProcess({RSTP_PEER, "--socket", file}).wait(), 1);
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(RstpPeerTest, BadInputIsNamedWithItsPlace)
{
    const auto file = write("frames", "01 00\n\n# comment\n01 0\n");
    ChildProcess peer{command({"--file", file})};
    EXPECT_EQ(peer.wait(), 2);
    EXPECT_THAT(peer.output(), HasSubstr(file + ":4: \"01 0\""));
    for (const auto* const option :
         {"word", "--frame=", "--frame=0x", "--event=1", "--file=.", "--size=20", "--rate=nan"}) {
        EXPECT_EQ(ChildProcess(command({option})).wait(), 2) << option;
    }

    ChildProcess typed{{"sh", "-c",
                        "printf '07 00\\n0g\\n\\n01 00 # last' | exec \"$0\" --socket \"$1\" --stdin --exit", RSTP_PEER,
                        path("socket")}};
    const Client client{path("socket")};
    EXPECT_THAT(client.read(), ElementsAre(7, 0));
    EXPECT_THAT(client.read(), ElementsAre(1, 0));
    EXPECT_EQ(typed.wait(), 0);
    EXPECT_THAT(typed.output(), HasSubstr("\"0g\" is not a frame"));
}

} // namespace
