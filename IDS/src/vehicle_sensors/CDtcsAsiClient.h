#pragma once

#include "asi/connectivity/diagnostic/DiagnosticDtcs.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IDtcsAsiClientListener.h"

namespace ids {

/// Forwards the updates of the diagnostic service to the client.
class DiagnosticDtcsReplyImpl : public asi::connectivity::diagnostic::DiagnosticDtcsReply,
                                public common_::ReplyForwarder<IDtcsAsiClientListener>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void updateDtcs(const comm::Nullable<asi::connectivity::diagnostic::Dtcs>& dtcs, bool isValid) override
    {
        forward(&IDtcsAsiClientListener::updateDtcs, dtcs, isValid);
    }
};

/// Subscribes to the diagnostic trouble codes and notifies the listeners of every update. On the active object only.
class CDtcsAsiClient final
    : public common_::AsiClientSkeleton<asi::connectivity::diagnostic::DiagnosticDtcsProxy, DiagnosticDtcsReplyImpl>,
      public common_::SubjectBase<IDtcsAsiClientListener>,
      public IDtcsAsiClientListener
{
public:
    explicit CDtcsAsiClient(comm::FactoryPtr factory);

    void updateDtcs(const util::SharedPtr<asi::connectivity::diagnostic::Dtcs>& dtcs, bool isValid) override;

private:
    void onAlive() override;
    void onDead() override;
};

} // namespace ids
