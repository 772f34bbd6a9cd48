#include "TestBus.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace test_support {
namespace {

constexpr char kConfiguration[] = R"(<busconfig>
  <type>session</type>
  <listen>unix:path=@/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
    <allow user="*"/>
    <allow own="*"/>
    <deny own="not.for.you.instance1"/>
  </policy>
</busconfig>
)";

} // namespace

TestBus::TestBus()
{
    std::string name = std::filesystem::temp_directory_path() / "ids-bus-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error{"mkdtemp"};
    }
    m_directory = name;
    std::filesystem::permissions(m_directory, std::filesystem::perms{0755});
    m_address = "unix:path=" + m_directory + "/bus";
    std::string text = kConfiguration;
    text.replace(text.find('@'), 1, m_directory);
    std::ofstream{m_directory + "/bus.conf"} << text;
    setenv("DBUS_SYSTEM_BUS_ADDRESS", m_address.c_str(), 1);
    start();
}

TestBus::~TestBus()
{
    kill();
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    std::filesystem::remove_all(m_directory);
}

void TestBus::start()
{
    // The bus daemon reports to service managers too; ours is not its.
    m_daemon = std::make_unique<ChildProcess>(std::vector<std::string>{"dbus-daemon",
                                                                       "--config-file=" + m_directory + "/bus.conf",
                                                                       "--nofork", "--nopidfile", "--print-address"},
                                              std::vector<std::string>{"NOTIFY_SOCKET="});
    if (!m_daemon->waitForOutput("unix:path=")) {
        throw std::runtime_error{"dbus-daemon does not start: " + m_daemon->output()};
    }
}

void TestBus::kill()
{
    m_daemon.reset();
}

} // namespace test_support
