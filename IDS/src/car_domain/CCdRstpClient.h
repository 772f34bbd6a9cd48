#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CIDS_Event.h"
#include "RstpInterfaceHandler.h"
#include "comm/ActiveObject.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/ICdRstpClientListener.h"

namespace ids {

/// Receives the security events of the car's other domains over RSTP and passes each to its listeners unchanged.
///
/// On the active object only; a thread of the transport reads. Events that arrive without a listener are lost.
class CCdRstpClient final : public common_::SubjectBase<ICdRstpClientListener>, private IIDS_EventIncoming
{
public:
    using Transport = common_::RstpInterfaceHandler<CIDS_Event, IIDS_EventIncoming>;

    explicit CCdRstpClient(const comm::FactoryPtr& factory, const std::string& path = Transport::kPath);

    /// Starts the transport, which keeps itself connected. Returns false when memory or a thread is not available.
    /// After a success, further calls have no effect.
    bool init();

private:
    void onConnectionStateChanged(bool) override {}
    void onIdsEvent(std::vector<std::uint8_t> payload) override;

    Transport m_transport;
};

} // namespace ids
