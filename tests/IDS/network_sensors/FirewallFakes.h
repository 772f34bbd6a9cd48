#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "ids/IIdsInformationAsiService.h"
#include "ids/IIdsm.h"
#include "ids/SEvent.h"

/// Remembers the events that reach the dispatcher.
class RecordingIdsm final : public ids::IIdsm
{
public:
    bool reportEvent(const std::shared_ptr<ids::SEvent>& event) override
    {
        const std::lock_guard lock{m_mutex};
        m_events.push_back(event);
        return true;
    }

    std::vector<std::uint16_t> ids() const
    {
        std::vector<std::uint16_t> all;
        for (const auto& event : events()) {
            all.push_back(event->eventId);
        }
        return all;
    }
    std::vector<std::shared_ptr<ids::SEvent>> events() const
    {
        const std::lock_guard lock{m_mutex};
        return m_events;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::shared_ptr<ids::SEvent>> m_events;
};

/// Remembers what is published, as pairs of drop type and packet count.
class RecordingInformation final : public ids::IIdsInformationAsiService
{
public:
    using Update = std::pair<std::uint32_t, std::uint32_t>;

    void
    updateFirewallDropPacketInfo(const std::shared_ptr<asi::connectivity::ids::FirewallDropPacketInfo>& info) override
    {
        updates.emplace_back(info->dropType, info->packetCount);
    }

    std::vector<Update> updates;
};
