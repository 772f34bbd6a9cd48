#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "TestActiveObject.h"
#include "asi/connectivity/ids/ViIdsmConnector.h"
#include "ipl/ErrorStorage.h"

namespace test_support {

/// The V2X domain. It reconnects after a loss of the daemon.
class V2xDomain : asi::connectivity::ids::ViIdsmConnectorReply, comm::LifecycleListener
{
public:
    static constexpr std::uint16_t kEventId = 0xA002;

    bool connected() const { return m_alive; }

    /// Connects if necessary, and sends an event of this number of bytes, at least the 16 of its header.
    void send(std::uint32_t size = 16)
    {
        if (!m_alive && m_proxy.connect()) {
            ipl::ErrorStorage::ack();
        }
        const auto event = std::make_shared<std::vector<std::uint8_t>>(size);
        (*event)[3] = kEventId >> 8;
        (*event)[4] = kEventId & 0xFF;
        m_activeObject.run([&] { m_proxy.call<&asi::connectivity::ids::ViIdsmConnector::sendEvent>(event, size); });
    }

private:
    void alive(const comm::Lifecycle&) override { m_alive = true; }
    void dead(const comm::Lifecycle&, const comm::DeathNotice&) override { m_alive = false; }

    TestActiveObject m_activeObject;
    std::atomic<bool> m_alive{false};
    asi::connectivity::ids::ViIdsmConnectorProxy m_proxy{1, m_activeObject.factory(), *this, *this};
};

} // namespace test_support
