#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// Restarts the program once through `isolated`: a user namespace can be entered only before threads exist.
void isolate(int argc, char** argv)
{
    if (std::getenv("IDS_TEST_ISOLATED") != nullptr) {
        return;
    }
    ::setenv("IDS_TEST_ISOLATED", "1", 1);
    std::string launcher = ISOLATED;
    std::string program = std::filesystem::read_symlink("/proc/self/exe");
    std::vector<char*> command{launcher.data(), program.data()};
    command.insert(command.end(), argv + 1, argv + argc + 1); // including the terminating null pointer
    ::execv(launcher.c_str(), command.data());
}

} // namespace

int main(int argc, char** argv)
{
    isolate(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
