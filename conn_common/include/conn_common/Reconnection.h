#pragma once

#include <functional>
#include <utility>

#include "comm/Proxy.h"
#include "conn_common/DefaultReconnectDelays.h"
#include "conn_common/Function2AOEvent.h"
#include "conn_common/SafeCallbackProxy.h"
#include "osal/Alarm.h"

namespace common_ {

/// Says when a client connects again that wants to do so as soon as its service has died: at once when the service had
/// been alive, but after a while when it had not, or it would set the pace by refusing us, and when the bus is gone,
/// be it only for us because our active object ends.
///
/// Lives on the client's active object, where connect is called too.
class Reconnection
{
public:
    Reconnection(comm::FactoryPtr factory, std::function<void()> connect)
        : m_factory{std::move(factory)}, m_connect{std::move(connect)}, m_alarm{osal::Alarm::DEFAULT_TIMER, [this] {
                                                                                    enqueFunction2AOF(
                                                                                        m_factory,
                                                                                        m_safeCallback.wrap(m_connect));
                                                                                }}
    {}

    ~Reconnection()
    {
        m_safeCallback.ownerDestroyed();
        m_alarm.remove();
    }
    Reconnection(const Reconnection&) = delete;
    Reconnection& operator=(const Reconnection&) = delete;

    void serviceDied(const comm::DeathNotice& notice)
    {
        if (notice.code != 0 && notice.reason != comm::DeathNotice::busLost) {
            m_connect();
        } else {
            connectFailed();
        }
    }
    void connectFailed() { m_alarm.set(DefaultReconnectDelays::afterFailedConnect); }

private:
    const comm::FactoryPtr m_factory;
    const std::function<void()> m_connect;
    SafeCallbackProxy m_safeCallback;
    osal::Alarm m_alarm;
};

} // namespace common_
