#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "TestActiveObject.h"
#include "asi/connectivity/idscore/IdsSecurityEvents.h"

namespace test_support {

/// An IDS core on a bus connection of its own. It connects again whenever the daemon or the bus has been away.
class TestCore : asi::connectivity::idscore::IdsSecurityEventsReply, comm::LifecycleListener
{
public:
    struct Event
    {
        std::uint16_t id;
        std::vector<std::uint8_t> frame;
        std::vector<std::uint8_t> timestamp;
        std::vector<std::uint8_t> context;
    };

    TestCore();
    ~TestCore() override;

    bool connected() const { return m_connected; }
    std::vector<Event> events() const;
    std::size_t count(std::uint16_t id) const;

private:
    void onSecEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& event, bool isValid) override;
    void alive(const comm::Lifecycle&) override { m_connected = true; }
    void dead(const comm::Lifecycle&, const comm::DeathNotice&) override { m_connected = false; }
    void keepConnected();

    TestActiveObject m_activeObject;
    std::atomic<bool> m_connected{false};
    std::atomic<bool> m_ending{false};
    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
    asi::connectivity::idscore::IdsSecurityEventsProxy m_proxy;
    std::thread m_connector;
};

} // namespace test_support
