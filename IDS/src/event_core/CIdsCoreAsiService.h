#pragma once

#include <memory>

#include "asi/connectivity/idscore/IdsSecurityEvents.h"
#include "comm/ActiveObject.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsCoreAsiService.h"
#include "ids/IIdsCoreServiceListener.h"

namespace ids {

/// Provides "asi.connectivity.idscore.IdsSecurityEvents", instance 1, and keeps the reply proxy of the IDS core that
/// connected last. Listeners are told of every connection.
///
/// Registered and withdrawn from any thread, everything else on the active object. An event that cannot be sent is lost
/// here; the caller learns it from the result.
class CIdsCoreAsiService final : public IIdsCoreAsiService,
                                 public asi::connectivity::idscore::IdsSecurityEventsSAttr,
                                 public common_::SubjectBase<IIdsCoreServiceListener>
{
public:
    explicit CIdsCoreAsiService(comm::FactoryPtr factory);
    ~CIdsCoreAsiService() override;

    /// Returns true on success; false when it is registered already or the bus refuses it.
    bool registerService();
    void deregisterService();

    bool isConnected() const override;
    bool sendEvent(const std::shared_ptr<asi::connectivity::idscore::SecEvent>& event) override;

private:
    void clientConnected(const Reply& client) override;
    void clientDisconnected(const Reply& client) override;
    void confirmReady() override {}
    void sendEventResult(const util::SharedPtr<asi::connectivity::idscore::EventSendResult>&) override {}

    const comm::FactoryPtr m_factory;
    Reply m_client;
};

} // namespace ids
