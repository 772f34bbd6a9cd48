#include "CProcMonitor.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <grp.h>
#include <limits>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Accounts.h"
#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "ForkedProcess.h"
#include "ManualTimers.h"
#include "TestActiveObject.h"
#include "event_decoder.h"
#include "ids/SEvent.h"
#include "ids/constants.h"

using namespace std::chrono_literals;
using namespace ids;
using namespace test_support;
using tracing::Level;

namespace {

using Names = std::vector<std::string>;

constexpr SProcSampling kAtOnce{.pause = 0us, .cycle = 0s};

/// The names of the reported processes.
struct Reports final : IIdsm
{
    bool reportEvent(const std::shared_ptr<SEvent>& event) override
    {
        for (const auto& field : event_decoder::decodeContext(event->eventId, event->contextData).fields) {
            if (field.layout().name == std::string_view{"processName"}) {
                names.push_back(field.text());
            }
        }
        return event->eventId == 0xD701;
    }
    Names names;
};

std::shared_ptr<SProcess> process(const std::string& name, double cpuUsage, std::uint32_t ramUsage = 0)
{
    return std::make_shared<SProcess>(SProcess{.cpuUsage = cpuUsage, .name = name, .ramUsage = ramUsage});
}

class CProcMonitorTest : public ::testing::Test
{
protected:
    CProcMonitorTest() { make({}, 10); }
    ~CProcMonitorTest() override
    {
        ao.run([this] { monitor.reset(); });
    }
    void make(const SProcSampling& sampling, std::size_t busiest)
    {
        monitor = std::make_unique<CProcMonitor>(ao.factory(), reports, timers, sampling, busiest);
    }
    std::size_t lines(Level level, const std::string& text) const
    {
        return log.count("CON_IDS_SENSOR_HOST", level, text);
    }
    static Processes sample(const SProcSampling& sampling = kAtOnce)
    {
        return CProcScanner{nullptr, [](const Processes&) {}, sampling}.sample().processes;
    }

    CapturedLog log;
    TestActiveObject ao;
    ManualTimers timers;
    Reports reports;
    std::unique_ptr<CProcMonitor> monitor;
};

TEST_F(CProcMonitorTest, TheTenBusiestAreReportedUnlessTheyUseNothing)
{
    Processes processes;
    for (int i = 0; i < 11; ++i) {
        processes.insert(processes.end(), {nullptr, process(std::to_string(i), i)});
    }
    monitor->onCpuRamUsageCalculated(processes);
    EXPECT_EQ(reports.names, (Names{"10", "9", "8", "7", "6", "5", "4", "3", "2", "1"}));
    monitor->onCpuRamUsageCalculated({process("idle", 0, 1), nullptr, process("busy", 0.1), process("unused", 0)});
    EXPECT_EQ(Names(reports.names.begin() + 10, reports.names.end()), (Names{"busy", "idle"}));
    EXPECT_EQ(lines(Level::progress, "Process name: unused, ID: 0, CPU usage: 0.000000"), 1U);
}

TEST_F(CProcMonitorTest, TwentyReportsLeaveAtOnceAndTwentyAfterEachSecond)
{
    make({}, 45);
    const Processes processes(50, process("p", 1));
    monitor->onCpuRamUsageCalculated(processes);
    std::vector<std::size_t> counts{reports.names.size()};
    for (const auto time : {999ms, 1ms, 1000ms, 5000ms}) {
        timers.advance(time);
        counts.push_back(reports.names.size());
    }
    EXPECT_EQ(counts, (std::vector<std::size_t>{20, 20, 40, 45, 45}));
    monitor->onCpuRamUsageCalculated(processes);
    monitor->onCpuRamUsageCalculated({process("new", 1)}); // the rest of the old ones is not wanted any more
    timers.advance(5s);
    EXPECT_EQ(reports.names.size(), 66U);
}

TEST_F(CProcMonitorTest, OnlyProcessesThatAreNotKnownAreToldOf)
{
    const auto begin = [&](const char* name, int state) {
        ::prctl(PR_SET_NAME, name);
        monitor->onNewProcState(static_cast<std::uint32_t>(::getpid()), static_cast<EProcState>(state));
    };
    for (const auto* const name : {"daemon_cl", "CCM", "wlarm", "apply_keys.sh", "wpa_supplicant."}) {
        begin(name, 1);
    }
    monitor->onNewProcState(std::numeric_limits<std::int32_t>::max(), EProcState::START); // there is none
    EXPECT_TRUE(log.lines().empty());
    begin("ccm", 1);
    begin("wlarm2", 16);
    begin("a b", 7);
    const auto begins = "Unknown process! (ID: " + std::to_string(::getpid()) + ", name: ";
    for (const auto* const text : {"ccm, state: START)", "wlarm2, state: STOP)", "a b, state: UNKNOWN)"}) {
        EXPECT_EQ(lines(Level::warning, begins + text), 1U) << text;
    }
}

/// Returns the status that the callable returns in a child process.
int inChild(const std::function<int()>& callable)
{
    const auto child = ::fork();
    if (child == 0) {
        ::_exit(callable());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

constexpr int kRefused = 100;

TEST_F(CProcMonitorTest, CoreFilesAreDeletedAndOtherFilesStay)
{
    namespace fs = std::filesystem;
    const auto folder = fs::path{coreDumpFolder}.parent_path();
    const auto staysAfterCrash = [&](const fs::path& path) {
        std::ofstream{path};
        monitor->onProcCrashed(path);
        return fs::remove(path);
    };
    // The folder's path is absolute: the child has a root directory of its own.
    const auto result = inChild([&] {
        const auto root = fs::temp_directory_path();
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", root.c_str(), "tmpfs", 0, nullptr) != 0 ||
            ::chroot(root.c_str()) != 0)
        {
            return kRefused;
        }
        fs::create_directories(folder);
        EXPECT_FALSE(staysAfterCrash(folder / "1234_nad_77"));
        EXPECT_EQ(lines(Level::progress, "procId: 1234, procName: nad, timestamp: 77"), 1U);
        for (const auto* const name : {"core.1234", "1_a_b_2", "_a_1", "1__2", "1_a_", "1_a", "1_a-b_2", "x_a_2"}) {
            EXPECT_TRUE(staysAfterCrash(folder / name)) << name;
        }
        EXPECT_TRUE(staysAfterCrash("/1_a_2"));
        monitor->onProcCrashed(folder / "1_a_2");
        EXPECT_EQ(lines(Level::error, "Core file path incorrect!"), 2U);
        EXPECT_EQ(lines(Level::error, "Can't create core dump!"), 10U);
        return HasFailure() ? 1 : 0;
    });
    if (result == kRefused) {
        GTEST_SKIP() << "no root directory of its own";
    }
    EXPECT_EQ(result, 0);
}

TEST_F(CProcMonitorTest, BusyProcessesAreReportedWhateverTheirNamesAndTheEndIsPrompt)
{
    const auto work = [](const char* name) {
        ::prctl(PR_SET_NAME, name);
        ::setpriority(PRIO_PROCESS, 0, -20); // together they must get 30 % of a core, on a busy machine too
        for (volatile bool endless = true; endless;) {
        }
    };
    const ForkedProcess first{[&] { work(") S a) (1"); }};
    const ForkedProcess second{[&] { work("two\nlines"); }};
    const ForkedProcess nameless{[&] { work("\n"); }};
    const auto endsAtOnceWhen = [&](const SProcSampling& sampling, const std::function<bool()>& isThere) {
        ao.run([&] { make(sampling, std::numeric_limits<std::size_t>::max()); });
        EXPECT_TRUE(monitor->start() && monitor->start());
        EXPECT_TRUE(isThere());
        ao.run([this] { monitor.reset(); }); // else the test times out
    };
    const auto isReported = [&](const char* name, std::ptrdiff_t times) {
        bool found = false;
        ao.run([&] {
            timers.advance(1s);
            found = std::count(reports.names.begin(), reports.names.end(), name) >= times;
        });
        return found;
    };
    endsAtOnceWhen(kAtOnce,
                   [&] { return eventually([&] { return isReported(") S a) (1", 2) && isReported("two", 2); }); });
    EXPECT_GT(lines(Level::error, "Process name invalid!"), 0U);
    EXPECT_EQ(lines(Level::warning, "Process start/stop event is deactivated."), 1U);
    const auto cyclesEnd = [&](std::size_t count) {
        const auto before = lines(Level::progress, "Total CPU consumption");
        return [=, this] {
            return eventually([&] { return lines(Level::progress, "Total CPU consumption") == before + count; });
        };
    };
    endsAtOnceWhen({.pause = 0us, .cycle = 1h}, cyclesEnd(1));
    endsAtOnceWhen({.pause = 1h, .cycle = 1h}, [] { return std::this_thread::sleep_for(50ms), true; });
    ao.run([&] { // and takes nothing meanwhile: one list is under way, one waits
        endsAtOnceWhen(
            kAtOnce, [&, twoEnd = cyclesEnd(2)] { return twoEnd() && (std::this_thread::sleep_for(50ms), twoEnd()); });
    });
}

TEST_F(CProcMonitorTest, AThousandProcessesAreSampledAndThoseThatVanishMeanwhileAreSkipped)
{
    const auto sleeping = [](const Processes& processes) {
        return std::count_if(processes.begin(), processes.end(), [](const auto& one) { return one->name == "sleep"; });
    };
    ChildProcess thousand{{"timeout", "60", "sh", "-c", "for i in $(seq 1000); do sleep 60 & done; echo all; wait"}};
    EXPECT_TRUE(thousand.waitForOutput("all") && eventually([&] { return sleeping(sample()) >= 1000; }));
    // Whenever the processes are listed, some of these are the last of them, and have ended when their turn comes.
    std::deque<ForkedProcess> vanishing;
    vanishing.emplace_back([] {});
    auto pass = std::async(std::launch::async, sample, SProcSampling{.pause = 1ms});
    while (pass.wait_for(5ms) != std::future_status::ready) {
        vanishing.emplace_back([] {});
        if (vanishing.size() > 40) {
            vanishing.pop_front();
        }
    }
    EXPECT_GE(sleeping(pass.get()), 1000);
    EXPECT_GT(lines(Level::error, "Can't read CPU usage!"), 0U);
    thousand.signal(SIGTERM); // which it hands on
    thousand.wait();
    EXPECT_TRUE(!isBusy(30.0) && isBusy(30.0001));
}

TEST_F(CProcMonitorTest, WhatIsHiddenOrMayNotBeReadIsLeftOut)
{
    if (!canChangeAccount()) {
        GTEST_SKIP() << kNoOtherAccounts;
    }
    const auto mountProc = [](const char* options) { return ::mount("proc", "/proc", "proc", 0, options) == 0; };
    const auto linesOfOrdinaryUser = [&] {
        constexpr unsigned kNobodyElse = 47114; // has this as its id
        const bool ordinary = ::setgroups(0, nullptr) == 0 && ::setgid(kNobodyElse) == 0 && ::setuid(kNobodyElse) == 0;
        return ordinary && sample().size() == 1 ? std::min<int>(static_cast<int>(log.lines().size()), 1) : 2;
    };
    const auto result = inChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            !mountProc("hidepid=2"))
        {
            return kRefused;
        }
        const auto hidden = inChild(linesOfOrdinaryUser);
        mountProc("hidepid=1");
        const auto refused = inChild(linesOfOrdinaryUser);
        ::mount("none", "/proc", "tmpfs", 0, nullptr);
        return hidden == 0 && refused == 1 && sample().empty() ? 0 : 1;
    });
    if (result == kRefused) {
        GTEST_SKIP() << "no mounts of its own";
    }
    EXPECT_EQ(result, 0);
}

} // namespace
