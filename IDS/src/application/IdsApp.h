#pragma once

#include <cstdint>
#include <memory>

#include "comm/ActiveObject.h"
#include "servmngt/Application.h"

namespace ids {

class CIdsManager;

/// The application that the service manager starts and stops. Owns the IDS manager and has no other state. Called on
/// the service manager's thread.
class IdsApp final : public servmngt::Application
{
public:
    explicit IdsApp(comm::FactoryPtr factory);
    ~IdsApp() override;

    /// Makes the IDS manager after destroying an existing one. Returns 0, or 1 when memory, a thread or a descriptor is
    /// not available.
    std::uint32_t initApplication(std::uint32_t systemRunMode, std::uint32_t appRunMode,
                                  std::uint32_t persistenceAccessMode) override;
    void runApplication() override;
    void stopApplication() override;

    void systemRunModeChanged(std::uint32_t) override {}
    void appRunModeChanged(std::uint32_t) override {}
    void persistenceAccessModeChanged(std::uint32_t) override {}

    /// Acknowledges at once; does not check the components.
    void watchdogAliveRequest() override;

    /// Acknowledges at once: the daemon has no pending data to write.
    void requestPersistenceFlush() override;

private:
    void destroyManager();

    comm::FactoryPtr m_factory;
    std::unique_ptr<CIdsManager> m_manager;
};

} // namespace ids
