#pragma once

#include "asi/connectivity/ids/IdsService.h"
#include "comm/ActiveObject.h"
#include "ids/IIdsInformationAsiService.h"

namespace ids {

/// Holds "asi.connectivity.ids.IdsService" with its attribute FirewallDropPacketInfo. Every update goes to each client
/// that asked for updates; without clients it is only kept. Updated on the active object.
class CIdsInformationAsiService : public asi::connectivity::ids::IdsServiceSAttr, public IIdsInformationAsiService
{
public:
    explicit CIdsInformationAsiService(comm::FactoryPtr factory);
    ~CIdsInformationAsiService() override;

    void
    updateFirewallDropPacketInfo(const std::shared_ptr<asi::connectivity::ids::FirewallDropPacketInfo>& info) override;

private:
    const comm::FactoryPtr m_factory;
};

} // namespace ids
