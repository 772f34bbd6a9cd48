#include "CoreConnection.h"

#include "ipl/ErrorStorage.h"

namespace core_monitor {
namespace {

constexpr std::uint32_t kInstance = 1;
constexpr std::chrono::milliseconds kPatience{200}; // between attempts, and before an absence is worth a word

std::string_view lossText(const comm::DeathNotice& notice)
{
    switch (notice.reason) {
    case comm::DeathNotice::busLost:
        return "the bus is gone, waiting for its return";
    case comm::DeathNotice::died:
        return "the daemon is gone, waiting for its return";
    case comm::DeathNotice::refused:
        return "the connection is refused, trying again";
    default:
        return "the daemon does not answer, trying again";
    }
}

} // namespace

CoreConnection::CoreConnection(const comm::FactoryPtr& factory, common_::ISynchronizedTimerFactory& timers,
                               ICoreConnectionListener& listener)
    : m_listener{listener},
      m_timer{timers.createTimer(kPatience, [this](void*) { onTimer(); })},
      m_proxy{kInstance, factory, *this, *this}
{}

void CoreConnection::begin()
{
    m_timer->start();
    m_atRest = m_proxy.connect();
    if (m_atRest) {
        ipl::ErrorStorage::ack();
        tellAway("no bus, waiting for it");
    }
}

void CoreConnection::onTimer()
{
    if (m_atRest) {
        begin();
    } else if (!m_proxy.isAlive()) {
        tellAway("no daemon on the bus, waiting for it");
    }
}

void CoreConnection::tellAway(std::string_view why)
{
    if (!m_toldAway) {
        m_toldAway = true;
        m_listener.onAway(why);
    }
}

void CoreConnection::onSecEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& event, bool isValid)
{
    m_listener.onEvent(event, isValid);
}

void CoreConnection::alive(const comm::Lifecycle&)
{
    m_toldAway = false;
    m_listener.onConnected();
}

void CoreConnection::dead(const comm::Lifecycle&, const comm::DeathNotice& notice)
{
    m_atRest = true;
    m_timer->start();
    tellAway(lossText(notice));
}

} // namespace core_monitor
