#include "COviLogger.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "RecordingIdsm.h"

using namespace ids;
using namespace test_support;
namespace fs = std::filesystem;

namespace {

struct SClient : io_manager::UniqueFd
{
    explicit SClient(const std::string& path) : UniqueFd{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)}
    {
        sockaddr_un address{AF_UNIX, {}};
        path.copy(address.sun_path, path.size());
        EXPECT_EQ(::connect(get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    /// As a rule more than the kernel holds.
    bool write(std::size_t size = 1000000) const
    {
        return ::send(get(), std::string(size, 'x').data(), size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
    }
};

class COviLoggerTest : public ::testing::Test
{
protected:
    bool start()
    {
        logger.emplace(idsm, path);
        return logger->startOviLogger() && logger->startOviLogger();
    }
    std::size_t ends() const { return log.count("CON_IDS_SENSOR_HOST", tracing::Level::error, "EOF when reading"); }

    const std::string path = fs::temp_directory_path() / ("COviLoggerTest" + std::to_string(::getpid()));
    CapturedLog log;
    RecordingIdsm idsm;
    std::optional<COviLogger> logger;
};

TEST_F(COviLoggerTest, SixteenAreDrainedBesideAFloodAndOthersInTheirTurnAndTheEndIsPrompt)
{
    ASSERT_TRUE(start());
    std::vector<SClient> clients;
    for (int i = 0; i < 16; ++i) {
        clients.emplace_back(path);
    }
    std::thread flood{[&flooding = clients.front()] {
        while (flooding.write()) {
        }
    }};
    EXPECT_TRUE(log.waitFor("16 clients are connected, further ones wait."));
    EXPECT_TRUE(SClient{path}.write(20000)); // and goes before its turn
    EXPECT_TRUE(clients.back().write() && ends() == 0);
    clients.pop_back();
    EXPECT_TRUE(eventually([this] { return ends() == 2; }));
    const auto begin = std::chrono::steady_clock::now();
    logger.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{2});
    flood.join();
    EXPECT_TRUE(!fs::exists(path) && idsm.events().empty());
}

TEST_F(COviLoggerTest, ThePlaceIsTakenFromAllButAFolderAndOnlyUserAndGroupAreAdmitted)
{
    fs::create_symlink("nowhere", path);
    EXPECT_TRUE(start());
    EXPECT_EQ(fs::symlink_status(path).permissions(), fs::perms{0660});
    EXPECT_TRUE((COviLogger{idsm, path}.startOviLogger())) << "where the first still is";
    fs::create_directory(path);
    EXPECT_FALSE(start());
    EXPECT_TRUE(log.waitFor("Can't listen on " + path + "! (errno: Is a directory)"));
    EXPECT_TRUE(log.waitFor("Listen socket invalid!") && fs::remove(path));
    EXPECT_TRUE(logger->startOviLogger()) << "nothing is in the way any more";
    EXPECT_FALSE((COviLogger{idsm, path + std::string(100, 'x')}.startOviLogger()));
}

} // namespace
