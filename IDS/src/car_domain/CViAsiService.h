#pragma once

#include <cstdint>

#include "asi/connectivity/ids/ViIdsmConnector.h"
#include "comm/ActiveObject.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IViAsiServiceListener.h"

namespace ids {

/// Provides "asi.connectivity.ids.ViIdsmConnector", instance 1: passes the events of the V2X domain to the listeners
/// unchanged.
///
/// Registered and withdrawn from any thread, otherwise used on the active object only. Events that arrive without a
/// listener are lost.
class CViAsiService final : public asi::connectivity::ids::ViIdsmConnectorS,
                            public common_::SubjectBase<IViAsiServiceListener>
{
public:
    explicit CViAsiService(comm::FactoryPtr factory);
    ~CViAsiService() override;

    /// Returns true on success; false when it is registered already or the bus refuses it.
    bool registerService();
    void deregisterService();

    void sendEvent(const UInt8Array& event, std::uint32_t eventSize) override;

private:
    const comm::FactoryPtr m_factory;
};

} // namespace ids
