#include "target_common/FolderMonitor.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <sys/select.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "FewDescriptors.h"
#include "TestActiveObject.h"

using namespace std::chrono_literals;
using namespace common_;
using namespace test_support;

namespace {

using Paths = std::vector<std::string>;

std::string makeFolder()
{
    std::string name = std::filesystem::temp_directory_path() / "ids-folder-XXXXXX";
    return ::mkdtemp(name.data()) != nullptr ? name : "";
}

class FolderMonitorTest : public ::testing::Test
{
protected:
    FolderMonitorTest()
    {
        std::filesystem::create_directory(one);
        std::filesystem::create_directory(two);
        make(SNotifyEvents{.create = true});
    }
    ~FolderMonitorTest() override
    {
        ao.run([this] { monitor.reset(); });
        std::filesystem::remove_all(root);
    }
    void make(std::optional<SNotifyEvents> selection)
    {
        monitor = std::make_unique<FolderMonitor>(
            ao.factory(), [this](std::string path) { paths.push_back(std::move(path)); },
            selection ? std::make_shared<SNotifyEvents>(*selection) : nullptr);
    }
    void start(const Paths& folders)
    {
        ASSERT_TRUE(monitor->start(folders));
        ASSERT_TRUE(eventually([this] { return lines("Monitoring fd=") == 2; })); // and begins to wait
    }
    std::size_t lines(const char* text) const
    {
        return log.count("CON_COMMON_FOLDERMONITOR", tracing::Level::detail, text);
    }
    void touch(const std::string& path) const { std::ofstream{path}; }
    bool isReported(const Paths& expected) const
    {
        return eventually([&] {
            bool equal = false;
            ao.run([&] { equal = paths == expected; });
            return equal;
        });
    }
    void expectPromptEnd()
    {
        const auto begin = std::chrono::steady_clock::now();
        monitor.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 400ms); // less than a cycle
        EXPECT_EQ(lines("DataServerThread thread joined, cleaning up"), 1U);
    }

    CapturedLog log;
    const std::string root = makeFolder();
    const std::string one = root + "/one";
    const std::string two = root + "/two";
    TestActiveObject ao;
    Paths paths;
    std::unique_ptr<FolderMonitor> monitor;
};

TEST_F(FolderMonitorTest, SelectionIsWhatTheKernelIsAskedFor)
{
    monitor.reset();
    EXPECT_TRUE(log.lines().empty()); // of one that was never started
    const auto descriptors = "/proc/" + std::to_string(::getpid()) + "/fdinfo";
    const std::pair<std::optional<SNotifyEvents>, const char*> cases[] = {{{}, " mask:308 "},
                                                                          {{{.closeWrite = true}}, " mask:8 "},
                                                                          {{{.create = true}}, " mask:100 "},
                                                                          {{{.movedTo = true}}, " mask:200 "}};
    for (const auto& [selection, mask] : cases) {
        make(selection);
        ASSERT_TRUE(monitor->start({one}));
        const auto isAsked = [&, mask = mask] {
            return outputOf({"grep", "-rh", "inotify", descriptors}).find(mask) != std::string::npos;
        };
        EXPECT_TRUE(eventually(isAsked)) << mask;
        monitor.reset();
    }
}

TEST_F(FolderMonitorTest, DescriptorsThatSelectCannotTakeAreRefusedAndAClosedOneIsToldOf)
{
    FdMonitor fds;
    EXPECT_FALSE(fds.add(FdMonitor::read, -1, monitor.get()));
    EXPECT_FALSE(fds.add(FdMonitor::read, FD_SETSIZE, monitor.get()));
    EXPECT_TRUE(fds.add(FdMonitor::error, 60, monitor.get()));
    EXPECT_FALSE(fds.runCycle(0));
    EXPECT_TRUE(log.waitFor("select(61)=Bad file descriptor failed"));
}

TEST_F(FolderMonitorTest, FilesAreToldOfUnderTheFolderAsItWasListed)
{
    start({one, root + "/missing", two + "/", two});
    EXPECT_TRUE(log.waitFor("Failed to add monitor for '" + root + "/missing'"));
    EXPECT_FALSE(monitor->start({two}));
    const std::string longest = one + "/" + std::string(255, 'x');
    touch(longest);
    EXPECT_TRUE(isReported({longest}));
    touch(two + "/f");
    EXPECT_TRUE(isReported({longest, two + "//f", two + "/f"}));
}

TEST_F(FolderMonitorTest, FolderThatIsRemovedIsNotReportedAsAFile)
{
    start({one, two});
    std::filesystem::remove(one);
    ASSERT_TRUE(eventually([this] { return lines("onFdReadReady") == 1; }));
    touch(two + "/f");
    EXPECT_TRUE(isReported({two + "/f"}));
}

#if !defined(__SANITIZE_ADDRESS__) // UBSan needs descriptors to check objects
TEST_F(FolderMonitorTest, StartsAgainAfterItsThreadHasEndedByItself)
{
    {
        const FewDescriptors noneForInotify{1};
        ASSERT_TRUE(monitor->start({two}));
        ASSERT_TRUE(log.waitFor("Failed to inotify fd"));
    }
    ASSERT_TRUE(eventually([this] { return monitor->start({one}); }));
    ASSERT_TRUE(eventually([this] { return lines("Monitoring fd=") == 2; }));
    touch(one + "/f");
    EXPECT_TRUE(isReported({one + "/f"}));
}
#endif

TEST_F(FolderMonitorTest, PauseHoldsEverythingBackAndDoesNotDelayTheEnd)
{
    EXPECT_FALSE(monitor->pause());
    start({one});
    const auto pause = [this] {
        EXPECT_TRUE(monitor->pause());
        std::this_thread::sleep_for(200ms); // it is asked, not waited for
    };
    pause();
    touch(one + "/f");
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(lines("onFdReadReady"), 0U);
    EXPECT_TRUE(monitor->resume());
    EXPECT_TRUE(isReported({one + "/f"}));
    pause();
    expectPromptEnd();
}

TEST_F(FolderMonitorTest, LaggingActiveObjectHoldsBackTheReadingAndDoesNotDelayTheEnd)
{
    start({one});
    int files = 0;
    ao.run([&] {
        const auto filesAreReadUntil = [&](const auto& reached) {
            return eventually([&] {
                touch(one + "/" + std::to_string(files++));
                return reached();
            });
        };
        EXPECT_TRUE(filesAreReadUntil([&] { return lines("onFdReadReady") >= 65; })); // one of them waits
        EXPECT_TRUE(filesAreReadUntil([&, enough = files + 50] { return files == enough; }));
        EXPECT_EQ(lines("onFdReadReady"), 65U);
        expectPromptEnd();
    });
    EXPECT_TRUE(paths.empty());
}

} // namespace
