#include "TestCore.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "ipl/ErrorStorage.h"

namespace test_support {

TestCore::TestCore() : m_proxy{1, m_activeObject.factory(), *this, *this}, m_connector{[this] { keepConnected(); }} {}

TestCore::~TestCore()
{
    m_ending = true;
    m_connector.join();
}

// Looks for the daemon anew every 100 ms until it has answered.
void TestCore::keepConnected()
{
    while (!m_ending) {
        if (!m_connected && m_proxy.connect()) {
            ipl::ErrorStorage::ack();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
    }
}

void TestCore::onSecEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& event, bool)
{
    const std::lock_guard lock{m_mutex};
    m_events.push_back({event->eventId, *event->eventFrame, *event->timestamp, *event->contextData});
}

std::vector<TestCore::Event> TestCore::events() const
{
    const std::lock_guard lock{m_mutex};
    return m_events;
}

std::size_t TestCore::count(std::uint16_t id) const
{
    const std::lock_guard lock{m_mutex};
    return static_cast<std::size_t>(
        std::count_if(m_events.begin(), m_events.end(), [id](const Event& event) { return event.id == id; }));
}

} // namespace test_support
