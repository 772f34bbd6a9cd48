#include "CoreConnection.h"

#include "ipl/ErrorStorage.h"

namespace core_monitor {
namespace {

constexpr std::uint32_t kInstance = 1;
constexpr std::chrono::milliseconds kRetryPeriod{200};    // also the time before a missing daemon is reported
constexpr std::chrono::milliseconds kRefusalPeriod{5000}; // the bus may log each refusal

constexpr std::string_view kRefused =
    "the bus refuses the connection: only the group idscore may connect; run as root:\n"
    "  sg idscore -c ids-core-monitor    (once), or\n"
    "  usermod -aG idscore USER          (for good, from the next login on)";

std::string_view lossText(const comm::DeathNotice& notice)
{
    switch (notice.reason) {
    case comm::DeathNotice::busLost:
        return "the bus disconnected, waiting for it";
    case comm::DeathNotice::died:
        return "the daemon disconnected, waiting for it";
    case comm::DeathNotice::refused:
        return kRefused;
    default:
        return "the daemon does not answer, trying again";
    }
}

} // namespace

CoreConnection::CoreConnection(const comm::FactoryPtr& factory, common_::ISynchronizedTimerFactory& timers,
                               ICoreConnectionListener& listener)
    : m_listener{listener},
      m_timer{timers.createTimer(kRetryPeriod, [this](void*) { onTimer(); })},
      m_proxy{kInstance, factory, *this, *this}
{}

void CoreConnection::begin()
{
    m_timer->modify(kRetryPeriod);
    m_atRest = m_proxy.connect();
    if (m_atRest) {
        ipl::ErrorStorage::ack();
        reportDisconnected("no bus, waiting for it");
    }
}

void CoreConnection::onTimer()
{
    if (m_atRest) {
        begin();
    } else if (!m_proxy.isAlive()) {
        reportDisconnected("no daemon on the bus, waiting for it");
    }
}

void CoreConnection::reportDisconnected(std::string_view why)
{
    if (m_reported.empty() || (why == kRefused && m_reported != kRefused)) {
        m_reported = why;
        m_listener.onDisconnected(why);
    }
}

void CoreConnection::onSecEvent(const util::SharedPtr<asi::connectivity::idscore::SecEvent>& event, bool isValid)
{
    m_listener.onEvent(event, isValid);
}

void CoreConnection::alive(const comm::Lifecycle&)
{
    m_reported = {};
    m_listener.onConnected();
}

void CoreConnection::dead(const comm::Lifecycle&, const comm::DeathNotice& notice)
{
    m_atRest = true;
    m_timer->modify(notice.reason == comm::DeathNotice::refused ? kRefusalPeriod : kRetryPeriod);
    reportDisconnected(lossText(notice));
}

} // namespace core_monitor
