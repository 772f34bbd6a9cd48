#include "CIdsCore.h"

#include <chrono>
#include <new>
#include <span>

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

using Bytes = std::span<const std::uint8_t>;

// Null when there is no memory for the payload, its arrays or their contents.
Payload createPayload(Bytes eventFrame, Bytes timestamp, Bytes contextData, std::uint16_t eventId)
try {
    Payload payload{new (std::nothrow) SecEvent};
    if (!payload) {
        return nullptr;
    }
    payload->contextData = CITypesFactory::createUInt8Array(0);
    payload->eventFrame = CITypesFactory::createUInt8Array(0);
    payload->timestamp = CITypesFactory::createUInt8Array(0);
    if (!payload->contextData || !payload->eventFrame || !payload->timestamp) {
        return nullptr;
    }
    payload->eventFrame->assign(eventFrame.begin(), eventFrame.end());
    payload->timestamp->assign(timestamp.begin(), timestamp.end());
    payload->contextData->assign(contextData.begin(), contextData.end());
    payload->eventId = eventId;
    return payload;
} catch (const std::bad_alloc&) {
    return nullptr;
}

} // namespace

CIdsCore::CIdsCore(IIdsCoreAsiService& service, common_::ISynchronizedTimerFactory& timers)
    : m_service{service}, m_connectTimer{timers.createStartedTimer(kConnectTime, [this](void*) { onTimerExpired(); })}
{}

void CIdsCore::onIdsCoreConnected()
{
    if (m_connectTimer && m_connectTimer->isRunning()) {
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
    return m_service.sendEvent(createPayload(event.eventFrame, event.timestamp, event.contextData, event.eventId));
}

bool CIdsCore::sendEvent(const std::vector<std::uint8_t>& raw)
{
    if (raw.size() < kHeadSize) {
        TRACE(s_channel, warning, kLabel, "Raw event of %zu bytes is too short.", raw.size());
        return false;
    }
    const Bytes bytes{raw};
    const auto eventId = static_cast<std::uint16_t>(raw[3] << 8 | raw[4]);
    return m_service.sendEvent(createPayload(bytes.first(kFrameSize), bytes.subspan(kFrameSize, kHeadSize - kFrameSize),
                                             bytes.subspan(kHeadSize), eventId));
}

bool CIdsCore::sendEvents(const util::SharedPtr<SecurityEvents>& events)
{
    bool sent = false;
    for (const auto& record : *events) {
        if (!record) {
            return false;
        }
        const bool whole = record->eventFrame && record->timestamp && record->contextData;
        sent = m_service.sendEvent(
            whole ? createPayload(*record->eventFrame, *record->timestamp, *record->contextData, 0) : nullptr);
    }
    return sent;
}

} // namespace ids
