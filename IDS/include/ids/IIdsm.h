#pragma once

#include <memory>

namespace ids {

struct SEvent;

/// The daemon's entry point for security events. Called on the daemon's active object only.
class IIdsm
{
public:
    virtual ~IIdsm() = default;

    /// Accepts an event made by event_factory::createEvent. Returns true when it was sent to the IDS core at once;
    /// false when it waits, or was dropped because it is null or too many wait.
    virtual bool reportEvent(const std::shared_ptr<SEvent>& event) = 0;
};

} // namespace ids
