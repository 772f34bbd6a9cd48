#pragma once

#include "asi/connectivity/ids/IdsService.h"
#include "comm/ActiveObject.h"
#include "ids/IIdsInformationAsiService.h"

namespace ids {

/// Provides "asi.connectivity.ids.IdsService", instance 1, with its attribute FirewallDropPacketInfo. Every update goes
/// to each client that asked for updates; without clients it is only kept. Registered and withdrawn from any thread,
/// updated on the active object.
class CIdsInformationAsiService : public asi::connectivity::ids::IdsServiceSAttr, public IIdsInformationAsiService
{
public:
    explicit CIdsInformationAsiService(comm::FactoryPtr factory);
    ~CIdsInformationAsiService() override;

    /// Returns true on success; false when it is registered already or the bus refuses it.
    bool registerService();
    void deregisterService();

    void
    updateFirewallDropPacketInfo(const std::shared_ptr<asi::connectivity::ids::FirewallDropPacketInfo>& info) override;

private:
    const comm::FactoryPtr m_factory;
};

} // namespace ids
