#pragma once

#include <string_view>

#include "asi/connectivity/idscore/IdsSecurityEvents.h"
#include "comm/ActiveObject.h"
#include "comm/Proxy.h"
#include "conn_common/ISynchronizedTimerFactory.h"

namespace core_monitor {

class ICoreConnectionListener
{
public:
    virtual ~ICoreConnectionListener() = default;
    virtual void onConnected() = 0;

    /// Once in each time without a connection.
    virtual void onAway(std::string_view why) = 0;

    /// The payload may be null.
    virtual void onEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& payload, bool isValid) = 0;
};

/// The IDS core's end of the connection to the daemon. It waits for bus and daemon without an end, and comes back to
/// them after each loss. Made, used, called back and destroyed on the active object.
class CoreConnection final : private asi::connectivity::idscore::IdsSecurityEventsReply, private comm::LifecycleListener
{
public:
    CoreConnection(const comm::FactoryPtr& factory, common_::ISynchronizedTimerFactory& timers,
                   ICoreConnectionListener& listener);

    void begin();

private:
    void onSecEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& event, bool isValid) override;
    void alive(const comm::Lifecycle& lifecycle) override;
    void dead(const comm::Lifecycle& lifecycle, const comm::DeathNotice& notice) override;

    void onTimer();
    void tellAway(std::string_view why);

    ICoreConnectionListener& m_listener;
    bool m_atRest = true;
    bool m_toldAway = false;
    const common_::ISynchronizedTimerFactory::TimerHandlePtr m_timer;
    asi::connectivity::idscore::IdsSecurityEventsProxy m_proxy; // goes first: it knows us as its listener
};

} // namespace core_monitor
