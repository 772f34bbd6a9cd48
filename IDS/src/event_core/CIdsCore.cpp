#include "CIdsCore.h"

#include <chrono>
#include <new>

#include "ids/SEvent.h"
#include "tracing/Channel.h"
#include "util/CITypesFactory.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CIdsCore";
constexpr std::chrono::milliseconds kConnectTime{30000};
constexpr std::size_t kFrameSize = 8;
constexpr std::size_t kHeadSize = 16; // frame and timestamp

tracing::Channel s_channel{"CON_IDS_CORE", 7, 2};

using asi::connectivity::idscore::SecEvent;
using Payload = std::shared_ptr<SecEvent>;

// A payload whose three arrays are there and empty; null when there is no memory for it.
Payload createPayload()
{
    Payload payload{new (std::nothrow) SecEvent};
    if (!payload) {
        return nullptr;
    }
    payload->contextData = CITypesFactory::createUInt8Array(0);
    payload->eventFrame = CITypesFactory::createUInt8Array(0);
    payload->timestamp = CITypesFactory::createUInt8Array(0);
    return payload->contextData && payload->eventFrame && payload->timestamp ? payload : nullptr;
}

} // namespace

CIdsCore::CIdsCore(IIdsCoreAsiService& service, common_::ISynchronizedTimerFactory& timers)
    : m_service{service}, m_connectTimer{timers.createStartedTimer(kConnectTime, [this](void*) { onTimerExpired(); })}
{}

void CIdsCore::onIdsCoreConnected()
{
    if (m_connectTimer) {
        m_connectTimer->stop();
    }
    TRACE(s_channel, milestone, kLabel, "IDS Core connected.");
    notify(&IIdsCoreServiceListener::onIdsCoreConnected);
}

void CIdsCore::onTimerExpired()
{
    TRACE(s_channel, warning, kLabel, "IDS Core didn't connect!");
}

bool CIdsCore::isConnected() const
{
    return m_service.isConnected();
}

bool CIdsCore::sendEvent(const SEvent& event)
{
    TRACE(s_channel, detail, kLabel, "Send event (ID: 0x%X).", event.eventId);
    const auto payload = createPayload();
    if (payload) {
        *payload->eventFrame = event.eventFrame;
        *payload->timestamp = event.timestamp;
        *payload->contextData = event.contextData;
        payload->eventId = event.eventId;
    }
    return m_service.sendEvent(payload);
}

bool CIdsCore::sendEvent(const std::vector<std::uint8_t>& raw)
{
    if (raw.size() < kHeadSize) {
        TRACE(s_channel, warning, kLabel, "Raw event of %zu bytes is too short.", raw.size());
        return false;
    }
    const auto payload = createPayload();
    if (payload) {
        const auto timestamp = raw.begin() + kFrameSize;
        const auto contextData = raw.begin() + kHeadSize;
        payload->eventFrame->assign(raw.begin(), timestamp);
        payload->timestamp->assign(timestamp, contextData);
        payload->contextData->assign(contextData, raw.end());
        payload->eventId = static_cast<std::uint16_t>(raw[3] << 8 | raw[4]);
    }
    return m_service.sendEvent(payload);
}

bool CIdsCore::sendEvents(const util::SharedPtr<SecurityEvents>& events)
{
    bool sent = false;
    for (const auto& record : *events) {
        if (!record) {
            return false;
        }
        auto payload = createPayload();
        if (!record->eventFrame || !record->timestamp || !record->contextData) {
            payload = nullptr;
        }
        if (payload) {
            *payload->eventFrame = *record->eventFrame;
            *payload->timestamp = *record->timestamp;
            *payload->contextData = *record->contextData;
        }
        sent = m_service.sendEvent(payload);
    }
    return sent;
}

} // namespace ids
