#pragma once

#include "ids/IIdsm.h"
#include "ids/ISoaDiagAsiClientListener.h"
#include "tracing/CallbackDispatcher.h"

namespace ids {

/// Reports failed service discoveries and failed TLS handshakes of the middleware (SOME/IP). Reports a successful
/// discovery as a use of the trusted execution environment, which performs the handshake that follows. On the active
/// object only.
class CSoaDiag final : public ISoaDiagAsiClientListener
{
public:
    explicit CSoaDiag(IIdsm& idsm);

    void publishingStarted() override {}
    void publish_ServiceDiscoveryEvent(const util::SharedPtr<asi::servicediag::ServiceDiscoveryEvent>& event) override;
    void publish_ServiceSecSOAEvent(const util::SharedPtr<asi::servicediag::ServiceSecSOAEvent>& event) override;
    void publish_SecureConnectionEvent(const util::SharedPtr<asi::servicediag::SecureConnectionEvent>& event) override;

private:
    void onTlsHandshakeFailed();

    IIdsm& m_idsm;
    tracing::CallbackDispatcher m_testCommands;
};

} // namespace ids
