#pragma once

#include "comm/Proxy.h"

namespace common_ {

/// Stands between a proxy and a client that may be destroyed at any time: what the proxy tells is handed on until
/// detach, and then reaches nobody. Reply is the client's reply implementation, which hands replies on to its target
/// until that is cleared. Lives on the client's active object.
template <typename Reply>
class SafeProxyServiceAndLifecycleListener final : public Reply,
                                                   public comm::LifecycleListener,
                                                   public comm::ActiveObjectEvent
{
public:
    SafeProxyServiceAndLifecycleListener(typename Reply::Target& replyTarget, comm::LifecycleListener& lifecycle)
        : Reply{replyTarget}, m_lifecycle{&lifecycle}
    {}

    void detach()
    {
        Reply::detach();
        m_lifecycle = nullptr;
    }

    void alive(const comm::Lifecycle& lifecycle) override
    {
        if (m_lifecycle != nullptr) {
            m_lifecycle->alive(lifecycle);
        }
    }

    void dead(const comm::Lifecycle& lifecycle, const comm::DeathNotice& notice) override
    {
        if (m_lifecycle != nullptr) {
            m_lifecycle->dead(lifecycle, notice);
        }
    }

    /// As an event it only keeps itself until what runs now has ended.
    int execute() override { return 0; }

private:
    comm::LifecycleListener* m_lifecycle;
};

} // namespace common_
