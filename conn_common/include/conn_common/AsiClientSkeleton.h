#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "comm/Proxy.h"
#include "conn_common/AsiChannel.h"
#include "conn_common/DefaultReconnectDelays.h"
#include "conn_common/Function2AOEvent.h"
#include "conn_common/SafeCallbackProxy.h"
#include "conn_common/SafeProxyServiceAndLifecycleListener.h"
#include "conn_common/allocate.h"
#include "ipl/ErrorStorage.h"
#include "osal/Alarm.h"

namespace common_ {

/// Base of a client of one of the unit's services: follows the service's life and connects again, after a fixed delay
/// and for ever, when the service has died or cannot be connected to. The derived client says what to ask for when the
/// service is alive and what to do with its replies.
///
/// Made on any thread, started and destroyed on the active object, where the hooks and replies come too; the alarm's
/// thread only posts. What the service sends while it is not alive to us is lost.
template <typename Proxy, typename Reply, typename Delays = DefaultReconnectDelays>
class AsiClientSkeleton : private comm::LifecycleListener
{
public:
    AsiClientSkeleton(const AsiClientSkeleton&) = delete;
    AsiClientSkeleton& operator=(const AsiClientSkeleton&) = delete;

    ~AsiClientSkeleton() override
    {
        m_safeCallback.ownerDestroyed();
        m_reconnectAlarm.remove();
        if (m_forwarder) {
            m_forwarder->detach();
            // A proxy that calls the forwarder at this moment needs it until that has returned.
            if (m_proxy) {
                m_proxy->disconnectAndNotify(m_forwarder);
            }
        }
    }

    /// Looks for the service from now on. Once started, further calls change nothing.
    void start()
    {
        if (m_started) {
            return;
        }
        m_started = true;
        m_forwarder = allocateShared<Forwarder>({"conn_common/include/conn_common/AsiClientSkeleton", 105, "start"},
                                                "OOM", m_replyTarget, static_cast<comm::LifecycleListener&>(*this));
        reconnect();
    }

    /// Says goodbye to the service and does not look for it any more. From any thread; nothing when not started.
    void stop()
    {
        comm::runAndWait(m_factory->getActiveObject({}), [this] {
            m_started = false;
            m_reconnectAlarm.remove();
            m_proxy.reset();
        });
    }

protected:
    /// replyTarget: the one that the reply implementation hands replies on to. instance: that of the service.
    AsiClientSkeleton(comm::FactoryPtr factory, typename Reply::Target& replyTarget, std::uint32_t instance = 1)
        : m_instance{instance},
          m_factory{std::move(factory)},
          m_replyTarget{replyTarget},
          m_reconnectAlarm{osal::Alarm::DEFAULT_TIMER, [this] { onReconnectAlarm(); }}
    {}

    /// The service is there and has accepted us, or is lost.
    virtual void onAlive() {}
    virtual void onDead() {}

    /// For the hooks, and while alive: there is a proxy then.
    const Proxy& proxy() const { return *m_proxy; }

    bool isAlive() const { return m_proxy && m_proxy->isAlive(); }

    /// For onAlive: asks for the updates of all attributes of the service.
    void requestNotifications() { retryUnless(m_proxy->requestNotifications()); }

    /// For onAlive: when what must be asked of the service could not be sent, it is connected to anew after a while.
    void retryUnless(bool sent)
    {
        if (!sent) {
            TRACE(s_asiChannel, error, kLabel, "Can't ask %s for what it has to tell, trying again", instanceId());
            m_reconnectAlarm.set(Delays::afterFailedConnect);
        }
    }

private:
    using Forwarder = SafeProxyServiceAndLifecycleListener<Reply>;

    static constexpr auto kLabel = "AsiClientSkeleton";

    const char* instanceId() const { return m_proxy ? m_proxy->getInstanceID().c_str() : ""; }

    void reconnect()
    {
        TRACE_AT(s_asiChannel, milestone, kLabel, "reconnect", 152, "Reconnecting...");
        if (m_proxy) {
            m_proxy->disconnect();
        }
        if (!renewProxy() || m_proxy->connect()) {
            ipl::ErrorStorage::ack();
            TRACE_AT(s_asiChannel, error, kLabel, "reconnect", 169, "Failed to connect ASI %s", instanceId());
            m_reconnectAlarm.set(Delays::afterFailedConnect);
            return;
        }
        TRACE_AT(s_asiChannel, milestone, kLabel, "reconnect", 174, "connect OK %s", instanceId());
    }

    // Without memory for a new one the old one is kept, for its name.
    bool renewProxy()
    {
        auto made = tryAllocate<Proxy>(m_instance, m_factory, *m_forwarder, *m_forwarder);
        if (!made) {
            return false;
        }
        m_proxy = std::move(made);
        return true;
    }

    // On the alarm's thread.
    void onReconnectAlarm()
    {
        enqueFunction2AOF(m_factory, m_safeCallback.wrap([this] {
            if (m_started) {
                reconnect();
            }
        }));
    }

    void alive(const comm::Lifecycle&) final
    {
        TRACE_AT(s_asiChannel, milestone, kLabel, "alive", 121, "ASI alive %s", instanceId());
        onAlive();
    }

    void dead(const comm::Lifecycle&, const comm::DeathNotice& notice) final
    {
        TRACE_AT(s_asiChannel, milestone, kLabel, "dead", 132, "ASI dead %s %d %d %d", instanceId(),
                 static_cast<int>(notice.code), static_cast<int>(notice.reason), static_cast<int>(notice.origin));
        m_reconnectAlarm.set(Delays::afterDeath(notice));
        onDead();
    }

    const std::uint32_t m_instance;
    bool m_started = false;
    const comm::FactoryPtr m_factory;
    typename Reply::Target& m_replyTarget;
    osal::Alarm m_reconnectAlarm;
    std::shared_ptr<Forwarder> m_forwarder;
    SafeCallbackProxy m_safeCallback;
    std::unique_ptr<Proxy> m_proxy;
};

} // namespace common_
