#pragma once

#include <cstdint>

namespace servmngt {

/// Where an application is in its life, as it reports it to the service manager.
enum class AppState : std::uint32_t
{
    initialising = 1,
    initialised = 2,
    running = 3,
    stopping = 4,
    stopped = 5,
    initFailed = 7
};

/// The face of an application that starts it. Separate, because it is handed out before the application is known to be
/// able to do more.
class IApplicationInit
{
public:
    virtual ~IApplicationInit() = default;

    /// Returns 0 on success. The three values are passed on from the service manager, 0 when it gives none.
    virtual std::uint32_t initApplication(std::uint32_t systemRunMode, std::uint32_t appRunMode,
                                          std::uint32_t persistenceAccessMode) = 0;
};

/// An application under the service manager. The operations below are called by startApp on the thread that called it,
/// one at a time; the reporting operations may be called from any thread. Without a service manager reports go nowhere.
class Application : public IApplicationInit
{
public:
    Application() = default;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    virtual void runApplication() = 0;
    virtual void stopApplication() = 0;

    /// Told that the unit's run modes or the rights on persisted data have changed.
    virtual void systemRunModeChanged(std::uint32_t mode) = 0;
    virtual void appRunModeChanged(std::uint32_t mode) = 0;
    virtual void persistenceAccessModeChanged(std::uint32_t mode) = 0;

    /// Asked regularly when the service manager watches over the process; to be answered with sendWatchdogAliveMsg.
    virtual void watchdogAliveRequest() = 0;

    /// Asked to write what must persist; to be answered with persistenceFlushAck.
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
