#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "TestActiveObject.h"
#include "asi/connectivity/idscore/IdsSecurityEvents.h"
#include "ipl/ErrorStorage.h"

namespace test_support {

/// An IDS core on a bus connection of its own. It reconnects after a loss of the daemon or the bus.
class TestCore : asi::connectivity::idscore::IdsSecurityEventsReply, comm::LifecycleListener
{
public:
    struct Event
    {
        std::uint16_t id;
        std::vector<std::uint8_t> frame;
        std::vector<std::uint8_t> context;
    };

    ~TestCore() override
    {
        m_ending = true;
        m_connector.join();
    }

    bool connected() const { return m_connected; }

    std::vector<Event> events() const
    {
        const std::lock_guard lock{m_mutex};
        return m_events;
    }

    std::size_t count(std::uint16_t id) const
    {
        const std::lock_guard lock{m_mutex};
        const auto matches = [id](const Event& event) { return event.id == id; };
        return static_cast<std::size_t>(std::count_if(m_events.begin(), m_events.end(), matches));
    }

private:
    void onSecEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& event, bool) override
    {
        const std::lock_guard lock{m_mutex};
        m_events.push_back({event->eventId, *event->eventFrame, *event->contextData});
    }
    void alive(const comm::Lifecycle&) override { m_connected = true; }
    void dead(const comm::Lifecycle&, const comm::DeathNotice&) override { m_connected = false; }

    // Tries to connect every 100 ms until the daemon has answered.
    void keepConnected()
    {
        while (!m_ending) {
            if (!m_connected && m_proxy.connect()) {
                ipl::ErrorStorage::ack();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds{100});
        }
    }

    TestActiveObject m_activeObject;
    std::atomic<bool> m_connected{false};
    std::atomic<bool> m_ending{false};
    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
    asi::connectivity::idscore::IdsSecurityEventsProxy m_proxy{1, m_activeObject.factory(), *this, *this};
    std::thread m_connector{[this] { keepConnected(); }};
};

} // namespace test_support
