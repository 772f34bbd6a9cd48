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

    /// Called once for each disconnection, and once more when the bus refuses the connection.
    virtual void onDisconnected(std::string_view why) = 0;

    /// The payload may be null.
    virtual void onEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& payload, bool isValid) = 0;
};

/// The IDS core's end of the connection to the daemon. Waits for bus and daemon without a time limit and reconnects
/// after each loss. Constructed, used, called back and destroyed on the active object.
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
    void reportDisconnected(std::string_view why);

    ICoreConnectionListener& m_listener;
    bool m_atRest = true;
    std::string_view m_reported; // empty while connected, and until a report
    const common_::ISynchronizedTimerFactory::TimerHandlePtr m_timer;
    asi::connectivity::idscore::IdsSecurityEventsProxy m_proxy; // destroyed first: it refers to this object
};

} // namespace core_monitor
