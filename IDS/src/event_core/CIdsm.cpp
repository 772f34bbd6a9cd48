#include "CIdsm.h"

#include <algorithm>
#include <chrono>
#include <iterator>

#include "CGnssManager.h"
#include "KnownEvents.h"
#include "STimestamp.h"
#include "bootTime.h"
#include "event_factory.h"
#include "ids/SEvent.h"
#include "tracing/Channel.h"
#include "tracing/client_helper.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CIdsm";
constexpr std::chrono::milliseconds kTick{1000};
constexpr std::uint8_t kTicksPerKeepAlive = 60;
constexpr std::size_t kMaxPending = 50;
constexpr std::uint64_t kLastInvalidTime = 1688714237000; // 2023-07-07 07:17:17 UTC: no unit is older
constexpr std::uint16_t kResourceConsumption = 0xD701;    // the busiest processes are reported at once, ten of them

tracing::Channel s_channel{"CON_IDS_IDSM", 7, 2};

// Starts the timer at the end of a tick, also of one that lacks memory: it would be the last one otherwise.
class NextTick
{
public:
    explicit NextTick(common_::ISynchronizedTimerFactory::TimerHandle* timer) : m_timer{timer} {}
    ~NextTick()
    {
        if (m_timer != nullptr) {
            m_timer->start();
        }
    }
    NextTick(const NextTick&) = delete;
    NextTick& operator=(const NextTick&) = delete;

private:
    common_::ISynchronizedTimerFactory::TimerHandle* const m_timer;
};

} // namespace

CIdsm::CIdsm(IIdsCore& core, common_::ISynchronizedTimerFactory& timers)
    : m_core{core}, m_tick{timers.createTimer(kTick, [this](void*) { onTick(); })}, m_testCommands{kLabel}
{
    // Room for what there can be, so that a lack of memory later neither loses an event nor stops the tick.
    m_pending.reserve(kMaxPending);
    m_eventRates.reserve(std::size(kKnownEvents));
    if (m_tick) {
        m_tick->start();
    }
    tracing::client_helper::addCommand(m_testCommands, "triggerV2XEvent", *this, &CIdsm::triggerV2XEvent);
    tracing::client_helper::addCommand(m_testCommands, "triggerRSTPEvent", *this, &CIdsm::triggerRSTPEvent);
}

bool CIdsm::reportEvent(const std::shared_ptr<SEvent>& event)
{
    if (!event) {
        return false;
    }
    TRACE(s_channel, detail, kLabel, "Report event with ID 0x%X", event->eventId);
    count(event->eventId);
    if (!inLimpMode(event->eventId) && sendNow(*event)) {
        return true;
    }
    if (m_pending.size() < kMaxPending) {
        m_pending.push_back(event);
    }
    return false;
}

void CIdsm::count(std::uint16_t eventId)
{
    if (eventId == kResourceConsumption) {
        return;
    }
    const bool before = inLimpMode(eventId);
    if (auto* const rate = findRate(eventId)) {
        ++rate->count;
    } else {
        m_eventRates.push_back({1, eventId});
    }
    if (!before && inLimpMode(eventId)) {
        TRACE_AT(s_channel, warning, kLabel, "reportEvent", __LINE__, "Entered limp mode (Reason: event 0x%X).",
                 eventId);
    }
}

CIdsm::EventRate* CIdsm::findRate(std::uint16_t eventId)
{
    const auto found = std::find_if(m_eventRates.begin(), m_eventRates.end(),
                                    [eventId](const EventRate& rate) { return rate.eventId == eventId; });
    return found != m_eventRates.end() ? &*found : nullptr;
}

bool CIdsm::inLimpMode(std::uint16_t eventId)
{
    const auto* const rate = findRate(eventId);
    return rate != nullptr && rate->count > 1;
}

bool CIdsm::sendNow(const SEvent& event)
{
    const auto gnssTime = CGnssManager::getInstance()->getGnssTime();
    if (gnssTime <= kLastInvalidTime) {
        TRACE_AT(s_channel, detail, kLabel, "reportEvent", __LINE__, "Timestamp is invalid!");
        return false;
    }
    restampPending(gnssTime);
    return m_core.sendEvent(event);
}

// Gives every waiting event the time at which it was made, whatever time base it had then.
void CIdsm::restampPending(std::uint64_t gnssTime)
{
    const std::uint32_t now = millisecondsSinceBoot();
    for (const auto& event : m_pending) {
        const std::uint32_t age = now - event->creationTime;
        stamp(event->timestamp, gnssTime - age);
    }
}

void CIdsm::onTick()
{
    const NextTick next{m_tick.get()};
    if (++m_tickCount == kTicksPerKeepAlive) {
        m_tickCount = 0;
        ++m_keepAliveCounter;
        sendKeepAlive();
    }
    flushPending();
    m_eventRates.clear();
}

void CIdsm::sendKeepAlive()
{
    TRACE(s_channel, progress, kLabel, "Send keep-alive.");
    if (const auto event = event_factory::createEvent<SEvent_KeepAlive>(m_keepAliveCounter)) {
        m_core.sendEvent(*event);
    }
}

// The table still holds the ending second, so an ID that was reported in it stays for another tick, and one that leaves
// now keeps its other events waiting.
void CIdsm::flushPending()
{
    for (auto event = m_pending.begin(); event != m_pending.end();) {
        const auto eventId = (*event)->eventId;
        if (findRate(eventId) == nullptr && m_core.isConnected() && m_core.sendEvent(**event)) {
            event = m_pending.erase(event);
            m_eventRates.push_back({1, eventId});
        } else {
            ++event;
        }
    }
}

bool CIdsm::onViEvent(const UInt8Array& event)
{
    TRACE(s_channel, progress, kLabel, "called");
    return event && m_core.sendEvent(*event);
}

void CIdsm::onEventFromCarDomain(const std::vector<std::uint8_t>& payload)
{
    TRACE(s_channel, progress, kLabel, "CIdsm::onEventFromCarDomain called!");
    m_core.sendEvent(payload);
}

bool CIdsm::onEventFromV2X(const util::SharedPtr<SecurityEvents>& content)
{
    TRACE(s_channel, milestone, kLabel, "called onEventFromV2X");
    return content && m_core.sendEvents(content);
}

void CIdsm::updateClampStates(const util::SharedPtr<asi::ooc::app::ClampStates>& states, bool isValid)
{
    if (isValid && states && states->Clamp15 == 0) {
        m_keepAliveCounter = 0;
    }
}

void CIdsm::triggerRSTPEvent()
{
    TRACE(s_channel, milestone, kLabel, "called triggerRSTPEvent callback");
    // A resource-consumption event whose context data ends after its header.
    onEventFromCarDomain({0x13, 0x0C, 0x40, 0xD7, 0x01, 0x00, 0x01, 0x00, //
                          0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, //
                          0x80, 0x00, 0x2B, 0x00, 0x00, 0x00, 0x01, 0x00});
}

void CIdsm::triggerV2XEvent()
{
    TRACE(s_channel, milestone, kLabel, "called triggerV2XEvent callback");
    constexpr std::size_t kRecords = 3;
    constexpr std::size_t kBlock = 8;
    const auto content = std::make_shared<SecurityEvents>();
    for (std::size_t i = 0; i < kRecords; ++i) {
        const auto record = std::make_shared<SecurityEvents::value_type::element_type>();
        record->eventFrame = CITypesFactory::createUInt8Array(kBlock);
        record->timestamp = CITypesFactory::createUInt8Array(kBlock);
        record->contextData = CITypesFactory::createUInt8Array(kBlock);
        content->push_back(record);
    }
    onEventFromV2X(content);
}

} // namespace ids
