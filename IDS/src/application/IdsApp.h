#pragma once

#include <cstdint>
#include <memory>

#include "comm/ActiveObject.h"
#include "servmngt/Application.h"

namespace ids {

class CIdsManager;

/// The daemon as the service manager sees it. It owns the IDS manager, passes start and stop on to it and keeps no
/// other state. Called on the service manager's thread.
class IdsApp final : public servmngt::Application
{
public:
    explicit IdsApp(comm::FactoryPtr factory);
    ~IdsApp() override;

    /// Makes the IDS manager; one from before is destroyed first. Returns 0, or 1 when there is no memory for it.
    std::uint32_t initApplication(std::uint32_t systemRunMode, std::uint32_t appRunMode,
                                  std::uint32_t persistenceAccessMode) override;
    void runApplication() override;
    void stopApplication() override;

    void systemRunModeChanged(std::uint32_t) override {}
    void appRunModeChanged(std::uint32_t) override {}
    void persistenceAccessModeChanged(std::uint32_t) override {}

    /// Answers at once, whatever the components do.
    void watchdogAliveRequest() override;

    /// Acknowledges at once: the daemon writes nothing that must persist.
    void requestPersistenceFlush() override;

private:
    void destroyManager();

    comm::FactoryPtr m_factory;
    std::unique_ptr<CIdsManager> m_manager;
};

} // namespace ids
