#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <stdexcept>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "TestBus.h"
#include "TestCore.h"
#include "V2xDomain.h"

namespace {

using namespace test_support;

/// One event as a domain frames it: header, time stamp, context data.
const std::vector<std::string> kEvent{"28",   "0x13", "0x0C", "0x41", "0xA0", "0x01", "0x00", "0x01", "0x00", "0",
                                      "0",    "0",    "1",    "0",    "0",    "0",    "2",    "0x80", "0x00", "0x2B",
                                      "0x00", "0x00", "0x00", "0x07", "9",    "8",    "7",    "6",    "5"};

/// Both roads by which other domains reach the core, through the whole daemon, from the neighbours' own tools.
TEST(RawEventsTest, RawEventsReachTheCoreUnchangedAfterThePeerWasKilled)
{
    const CapturedLog log;
    const TestBus bus;
    TestCore core;
    ChildProcess daemon{{IDS_PROC}, {"TRACING=*=1"}};
    ASSERT_TRUE(eventually([&] { return core.connected(); }));
    ASSERT_TRUE(daemon.waitForOutput("RSTP connection result: true"));
    ASSERT_TRUE(daemon.waitForOutput("CViAsiService registered service."));

    std::vector<std::string> viaV2X{"busctl",
                                    "--system",
                                    "call",
                                    "asi.connectivity.ids.ViIdsmConnector.instance1",
                                    "/asi/connectivity/ids/ViIdsmConnector/1",
                                    "asi.connectivity.ids.ViIdsmConnector",
                                    "sendEvent",
                                    "ayu"};
    viaV2X.insert(viaV2X.end(), kEvent.begin(), kEvent.end());
    viaV2X.emplace_back("28");
    EXPECT_EQ(outputOf(viaV2X), "");
    ASSERT_TRUE(eventually([&] { return core.count(0xA001) == 1; }));

    const std::vector<std::string> viaCar{RSTP_PEER, "--exit", "--event",
                                          "130C41A001000100 0000000100000002 80002B0000000709 08070605"};
    for (std::size_t sent = 2; sent < 4; ++sent) {
        ChildProcess peer{viaCar};
        ASSERT_TRUE(eventually([&] { return core.count(0xA001) == sent; })) << peer.output();
    }
    for (const auto& event : core.events()) {
        if (event.id == 0x9711) { // the packet filter's statistics, when this takes long
            continue;
        }
        EXPECT_EQ(event.frame, (std::vector<std::uint8_t>{0x13, 0x0C, 0x41, 0xA0, 1, 0, 1, 0}));
        EXPECT_EQ(event.context, (std::vector<std::uint8_t>{0x80, 0, 0x2B, 0, 0, 0, 7, 9, 8, 7, 6, 5}));
        EXPECT_EQ(event.id, 0xA001);
    }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // their memory is not the daemon's

/// The number behind the text in the file.
std::uint64_t numberBehind(const std::string& text, const std::string& file)
{
    std::ifstream stream{file};
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(text)) {
            return std::stoull(line.substr(text.size()));
        }
    }
    throw std::runtime_error{"no " + text + " in " + file};
}

TEST(RawEventsTest, TheLargestBusMessagesFitIntoTheServicesMemory)
{
    constexpr std::uint32_t kLargest = (32U << 20) - 4096;
    const CapturedLog log;
    const TestBus bus;
    TestCore core;
    V2xDomain v2x;
    ChildProcess daemon{{IDS_PROC}, {"TRACING=*=2"}};
    ASSERT_TRUE(eventually([&] { return core.connected(); }));
    ASSERT_TRUE(eventually([&] { return v2x.send(), v2x.connected(); }));
    for (unsigned sent = 0; sent < 5; ++sent) {
        v2x.send(kLargest);
    }
    const auto large = [&] {
        const auto events = core.events();
        return std::count_if(events.begin(), events.end(),
                             [](const auto& one) { return one.context.size() > kLargest / 2; });
    };
    EXPECT_TRUE(eventually([&] { return large() > 0; }));
    v2x.send();
    const auto mebibytes = numberBehind("VmHWM:", "/proc/" + std::to_string(daemon.pid()) + "/status") >> 10;
    EXPECT_GT(mebibytes, kLargest >> 20);
    EXPECT_LT(mebibytes, numberBehind("MemoryMax=", SERVICE_UNIT) * 2 / 3) << daemon.output();
}
#endif

} // namespace
