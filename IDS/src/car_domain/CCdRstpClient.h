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

/// Receives the security events of the car's other domains over RSTP and tells its listeners of each, as it came.
///
/// On the active object only; a thread of the transport reads. While nobody listens, events are lost.
class CCdRstpClient final : public common_::SubjectBase<ICdRstpClientListener>, private IIDS_EventIncoming
{
public:
    using Transport = common_::RstpInterfaceHandler<CIDS_Event, IIDS_EventIncoming>;

    explicit CCdRstpClient(const comm::FactoryPtr& factory, const std::string& path = Transport::kPath);

    /// Starts the transport, which connects by itself from then on. Returns false when there is no memory or thread for
    /// it; once started, further calls change nothing.
    bool init();

private:
    void onConnectionStateChanged(bool) override {}
    void onIdsEvent(std::vector<std::uint8_t> payload) override;

    Transport m_transport;
};

} // namespace ids
