#pragma once

#include <memory>

#include "conn_common/ISynchronizedTimerFactory.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IIdsCore.h"
#include "ids/IIdsCoreAsiService.h"
#include "ids/IIdsCoreServiceListener.h"

namespace ids {

/// Turns the daemon's events and those framed elsewhere into the payload of the security event service, and warns once
/// when no IDS core has connected within 30 s of construction. Passes the news of a connection on to its own listeners.
/// On the active object only.
class CIdsCore final : public IIdsCore,
                       public common_::SubjectBase<IIdsCoreServiceListener>,
                       public common_::ListenerBase<IIdsCoreServiceListener>
{
public:
    CIdsCore(IIdsCoreAsiService& service, common_::ISynchronizedTimerFactory& timers);

    bool isConnected() const override;
    bool sendEvent(const SEvent& event) override;
    bool sendEvents(const util::SharedPtr<SecurityEvents>& events) override;
    bool sendEvent(const std::vector<std::uint8_t>& raw) override;

    void onIdsCoreConnected() override;

private:
    void onTimerExpired();

    IIdsCoreAsiService& m_service;
    std::unique_ptr<common_::ISynchronizedTimerFactory::TimerHandle> m_connectTimer;
};

} // namespace ids
