#pragma once

#include <cstdint>
#include <new>
#include <vector>

#include "ids/IIdsCore.h"
#include "ids/SEvent.h"

/// An IDS core that is connected or not as the test wants, and keeps what is sent to it.
class RecordingCore final : public ids::IIdsCore
{
public:
    bool isConnected() const override { return connected; }

    bool sendEvent(const ids::SEvent& event) override
    {
        if (event.eventId == failsFor) {
            throw std::bad_alloc{};
        }
        if (connected) {
            events.push_back(event);
        }
        return connected;
    }

    bool sendEvents(const util::SharedPtr<SecurityEvents>& content) override
    {
        records = content;
        return connected;
    }

    bool sendEvent(const std::vector<std::uint8_t>& event) override
    {
        raw.push_back(event);
        return connected;
    }

    std::vector<std::uint16_t> ids() const
    {
        std::vector<std::uint16_t> all;
        for (const auto& event : events) {
            all.push_back(event.eventId);
        }
        return all;
    }

    bool connected = true;
    std::uint16_t failsFor = 0; // the ID of events for which there is no memory
    std::vector<ids::SEvent> events;
    std::vector<std::vector<std::uint8_t>> raw;
    util::SharedPtr<SecurityEvents> records;
};
