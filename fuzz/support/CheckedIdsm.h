#pragma once

#include <cstdlib>
#include <memory>

#include "event_decoder.h"
#include "ids/IIdsm.h"
#include "ids/SEvent.h"

namespace fuzz_support {

/// Checks every event against the catalogue and passes it to the dispatcher.
class CheckedIdsm final : public ids::IIdsm
{
public:
    explicit CheckedIdsm(ids::IIdsm& dispatcher) : m_dispatcher{dispatcher} {}

    bool reportEvent(const std::shared_ptr<ids::SEvent>& event) override
    {
        ++reported;
        const auto context = ids::event_decoder::decodeContext(event->eventId, event->contextData);
        const auto frame = ids::event_decoder::decodeFrameHeader(event->eventFrame);
        if (context.event == nullptr || context.missing != 0 || !context.rest.empty() || event->timestamp.size() != 8 ||
            event->eventFrame.size() != 8 || frame->eventId != event->eventId)
        {
            std::abort();
        }
        return m_dispatcher.reportEvent(event);
    }

    std::size_t reported = 0;

private:
    ids::IIdsm& m_dispatcher;
};

} // namespace fuzz_support
