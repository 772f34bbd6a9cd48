#pragma once

#include <cstdint>

#include "IImplListener.h"
#include "asi/someip/oru/services/idssecurityevent/v2/IDSSecurityEvent.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/ISomeIpClientListener.h"

namespace ids {

/// Forwards the notifications of the SOME/IP security event service to the client.
class ISomeIpReplyImpl : public asi::someip::oru::services::idssecurityevent::v2::IDSSecurityEventReply,
                         public common_::ReplyForwarder<IImplListener>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void securityEvent(const util::SharedPtr<IImplListener::SecurityEvents>& content) override
    {
        forward(&IImplListener::onSecurityEvents, content);
    }
};

/// Subscribes to the security events of the SOME/IP network whenever their service becomes alive, and notifies the
/// listeners. On the active object only. Events that arrive without a listener are lost.
class CSomeIpClient final
    : public common_::AsiClientSkeleton<asi::someip::oru::services::idssecurityevent::v2::IDSSecurityEventProxy,
                                        ISomeIpReplyImpl>,
      public IImplListener,
      public common_::SubjectBase<ISomeIpClientListener>
{
public:
    /// forwardMode: 2 forwards to the listeners, any other value discards.
    CSomeIpClient(comm::FactoryPtr factory, std::uint32_t forwardMode);

    bool onSecurityEvents(const util::SharedPtr<SecurityEvents>& content) override;

private:
    void onAlive() override;

    const std::uint32_t m_forwardMode;
};

} // namespace ids
