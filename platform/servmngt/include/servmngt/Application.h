#pragma once

#include <cstdint>

namespace servmngt {

/// The state of an application, as reported to the service manager.
enum class AppState : std::uint32_t
{
    initialising = 1,
    initialised = 2,
    running = 3,
    stopping = 4,
    stopped = 5,
    initFailed = 7
};

/// The initialisation of an application. A separate interface, because startApp receives it apart from the application.
class IApplicationInit
{
public:
    virtual ~IApplicationInit() = default;

    /// Returns 0 on success. The service manager's values are passed on; 0 when it gives none.
    virtual std::uint32_t initApplication(std::uint32_t systemRunMode, std::uint32_t appRunMode,
                                          std::uint32_t persistenceAccessMode) = 0;
};

/// An application under the service manager. startApp calls the functions below on its own thread, one at a time; the
/// reporting functions may be called from any thread. Without a service manager reports are discarded.
class Application : public IApplicationInit
{
public:
    Application() = default;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    virtual void runApplication() = 0;
    virtual void stopApplication() = 0;

    /// The unit's run modes or the access rights to persistent data have changed.
    virtual void systemRunModeChanged(std::uint32_t mode) = 0;
    virtual void appRunModeChanged(std::uint32_t mode) = 0;
    virtual void persistenceAccessModeChanged(std::uint32_t mode) = 0;

    /// Called at half the watchdog's interval; the application must call sendWatchdogAliveMsg.
    virtual void watchdogAliveRequest() = 0;

    /// Request to write persistent data; the application must call persistenceFlushAck.
    virtual void requestPersistenceFlush() = 0;

    virtual void systemEventOccured(std::uint32_t) {}
    virtual void customEventOccured(std::uint32_t) {}
    virtual void userCommandDone(std::uint32_t) {}
    virtual void requestSuspend() {}

    IApplicationInit* getInitIf() { return this; }

    void setAppState(AppState state);
    void sendWatchdogAliveMsg();
    void persistenceFlushAck();
};

} // namespace servmngt
