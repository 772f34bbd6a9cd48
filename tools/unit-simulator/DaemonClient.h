#pragma once

#include "Fields.h"
#include "comm/Proxy.h"
#include "ipl/ErrorStorage.h"

namespace unit_simulator {

/// The unit's end of a service that the daemon provides. Reconnects after a loss of the daemon, and after a loss of the
/// bus at the next call. On the unit's active object.
template <typename Description>
class DaemonClient final : private Description::Reply, private comm::LifecycleListener
{
public:
    explicit DaemonClient(const comm::FactoryPtr& factory) : m_proxy{1, factory, *this, *this} {}

    void connect()
    {
        if (m_proxy.connect()) {
            ipl::ErrorStorage::ack();
        }
    }

    /// Throws BadInput when the daemon is not connected.
    template <auto function, typename... Args>
    void call(const Args&... args)
    {
        if (!m_proxy.isAlive()) {
            connect();
            throw BadInput{"the daemon's " + m_proxy.getInstanceID() + " is not there"};
        }
        m_proxy.template call<function>(args...);
    }

private:
    void alive(const comm::Lifecycle&) override {}
    void dead(const comm::Lifecycle&, const comm::DeathNotice& notice) override
    {
        if (notice.reason == comm::DeathNotice::died) {
            connect();
        }
    }

    comm::ServiceProxy<Description> m_proxy;
};

} // namespace unit_simulator
