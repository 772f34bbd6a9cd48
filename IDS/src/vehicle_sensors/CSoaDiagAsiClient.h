#pragma once

#include <cstdint>

#include "asi/servicediag/diag.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "ids/ISoaDiagAsiClientListener.h"

namespace ids {

/// Forwards the events of the diagnostics to the client.
class DiagReplyImpl : public asi::servicediag::diagReply, public common_::ReplyForwarder<ISoaDiagAsiClientListener>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void publishingStarted() override { forward(&ISoaDiagAsiClientListener::publishingStarted); }

    void publish_ServiceDiscoveryEvent(const util::SharedPtr<asi::servicediag::ServiceDiscoveryEvent>& event) override
    {
        forward(&ISoaDiagAsiClientListener::publish_ServiceDiscoveryEvent, event);
    }

    void publish_ServiceSecSOAEvent(const util::SharedPtr<asi::servicediag::ServiceSecSOAEvent>& event) override
    {
        forward(&ISoaDiagAsiClientListener::publish_ServiceSecSOAEvent, event);
    }

    void publish_SecureConnectionEvent(const util::SharedPtr<asi::servicediag::SecureConnectionEvent>& event) override
    {
        forward(&ISoaDiagAsiClientListener::publish_SecureConnectionEvent, event);
    }
};

/// Requests the events of one instance of the middleware's diagnostics and forwards them to a listener. On the active
/// object only. Events that arrive without a listener or during a disconnection are lost.
class CSoaDiagAsiClient final : public common_::AsiClientSkeleton<asi::servicediag::diagProxy, DiagReplyImpl>,
                                public ISoaDiagAsiClientListener
{
public:
    /// index: instance on the unit, counted from 0.
    CSoaDiagAsiClient(comm::FactoryPtr factory, std::uint32_t index);

    /// One listener may serve several clients. It must outlive the client or be removed with null.
    void setListener(ISoaDiagAsiClientListener* listener) { m_listener = listener; }

    void publishingStarted() override;
    void publish_ServiceDiscoveryEvent(const util::SharedPtr<asi::servicediag::ServiceDiscoveryEvent>& event) override;
    void publish_ServiceSecSOAEvent(const util::SharedPtr<asi::servicediag::ServiceSecSOAEvent>& event) override;
    void publish_SecureConnectionEvent(const util::SharedPtr<asi::servicediag::SecureConnectionEvent>& event) override;

private:
    void onAlive() override;

    ISoaDiagAsiClientListener* m_listener = nullptr;
};

} // namespace ids
