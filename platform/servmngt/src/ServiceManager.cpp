#include "servmngt/ServiceManager.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <pthread.h>
#include <sys/signalfd.h>
#include <systemd/sd-daemon.h>
#include <systemd/sd-event.h>

#include "Viewer.h"
#include "comm/EventLoop.h"
#include "comm/TestCommands.h"
#include "ipl/ErrorStorage.h"

namespace servmngt {
namespace {

bool g_testCommands = false;
std::unique_ptr<comm::TestCommands> g_offered;

// What to do with a command from the viewer, empty when none may come.
tracing::DltLink::Command viewerCommand()
{
    if (!g_offered) {
        return {};
    }
    return [](const std::string& command) { g_offered->run(command); };
}

sigset_t ourSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGUSR1);
    return set;
}

bool has(int argc, char** argv, const char* option)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], option) == 0) {
            return true;
        }
    }
    return false;
}

// Of the watchdog's timer, in microseconds: the default of a quarter second may be the manager's whole patience.
constexpr std::uint64_t kAccuracy = 1000;

// The loop of the service manager's library on the main thread.
class Manager
{
public:
    explicit Manager(Application& application) : m_application{application} {}
    ~Manager() { sd_event_unref(m_event); }
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    // Returns 0 or a negative errno.
    int prepare()
    {
        int error = sd_event_new(&m_event);
        if (error >= 0) { // the first that is ready makes the room for all: a signal that found none would be lost
            error = sd_event_add_defer(
                m_event, nullptr, [](sd_event_source*, void*) { return 0; }, nullptr);
        }
        for (const int signal : {SIGTERM, SIGINT, SIGUSR1}) {
            if (error >= 0) {
                error = sd_event_add_signal(m_event, nullptr, signal, &Manager::onSignal, this);
            }
        }
        if (error >= 0 && sd_watchdog_enabled(0, &m_watchdogMicroseconds) > 0) {
            error =
                sd_event_add_time_relative(m_event, nullptr, CLOCK_MONOTONIC, 0, kAccuracy, &Manager::onWatchdog, this);
        }
        if (error >= 0) {
            comm::guarded([this] { // a log that nobody can look at is no reason not to start
                m_viewer.linkIfThere();
                return 0;
            });
        }
        return error;
    }

    int loop()
    {
        comm::guarded([this] { // not before, for it takes milliseconds
            m_viewer.watch(m_event);
            return 0;
        });
        return comm::runEventLoop(m_event);
    }

private:
    static int onSignal(sd_event_source*, const signalfd_siginfo* info, void* userdata)
    {
        auto& self = *static_cast<Manager*>(userdata);
        if (info->ssi_signo == SIGUSR1) {
            self.m_application.requestPersistenceFlush();
            return 0;
        }
        sd_event_exit(self.m_event, 0); // first, so that the loop ends even if the application fails to stop
        return comm::guarded([&self] {
            self.m_application.stopApplication();
            return 0;
        });
    }

    // Twice in the time that the service manager allows.
    static int onWatchdog(sd_event_source* source, std::uint64_t, void* userdata)
    {
        auto& self = *static_cast<Manager*>(userdata);
        self.m_application.watchdogAliveRequest();
        sd_event_source_set_time_relative(source, self.m_watchdogMicroseconds / 2);
        return sd_event_source_set_enabled(source, SD_EVENT_ONESHOT);
    }

    Application& m_application;
    sd_event* m_event = nullptr;
    std::uint64_t m_watchdogMicroseconds = 0;
    Viewer m_viewer{viewerCommand()};
};

} // namespace

void init(int argc, char** argv)
{
    if (has(argc, argv, "--help")) {
        std::printf(
            "usage: idsProc [--test-commands] [--help] [--version]\n\n"
            "  --test-commands  offer test commands on the bus to root and the daemon's own user,\n"
            "                   and to the viewers of the DLT daemon\n"
            "  --help           print this text and exit\n"
            "  --version        print the version and exit\n\n"
            "Environment: DBUS_SYSTEM_BUS_ADDRESS (the bus), TRACING (thresholds, such as CON_IDS_IDSM=0,*=1),\n"
            "DLT_PIPE_DIR (where the DLT daemon listens).\n"
            "Signals: SIGTERM and SIGINT stop, SIGUSR1 requests a persistence flush.\n");
        std::exit(0);
    }
    if (has(argc, argv, "--version")) {
        std::printf("idsProc %s\n", IDS_VERSION);
        std::exit(0);
    }
    g_testCommands = has(argc, argv, "--test-commands");
    const auto signals = ourSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

void offerTestCommands(const comm::FactoryPtr& factory)
{
    if (g_testCommands) {
        g_offered = std::make_unique<comm::TestCommands>(factory);
    }
}

bool startApp(int argc, char** argv, Application& application, const char* processName, IApplicationInit* initIf)
{
    pthread_setname_np(pthread_self(), processName);
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--test-commands") != 0) {
            ipl::ErrorStorage::set(EINVAL, "unknown argument \"%s\", see --help", argv[i]);
            return true;
        }
    }
    Manager manager{application};
    if (const int error = manager.prepare(); error < 0) {
        ipl::ErrorStorage::set(static_cast<std::uint32_t>(-error), "no event loop: %s", std::strerror(-error));
        return true;
    }
    if (initIf->initApplication(0, 0, 0) != 0) {
        const std::string reason = ipl::ErrorStorage::reason();
        ipl::ErrorStorage::ack();
        ipl::ErrorStorage::set(ENOMEM, "%s could not be initialised: %s", processName, reason.c_str());
        return true;
    }
    application.runApplication();
    if (const int error = manager.loop(); error < 0) {
        ipl::ErrorStorage::set(static_cast<std::uint32_t>(-error), "event loop: %s", std::strerror(-error));
        return true;
    }
    return false;
}

} // namespace servmngt
