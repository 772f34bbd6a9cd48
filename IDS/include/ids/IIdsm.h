#pragma once

#include <memory>

namespace ids {

struct SEvent;

/// The daemon's entry point for security events. Called on the daemon's active object only.
class IIdsm
{
public:
    virtual ~IIdsm() = default;

    /// Takes an event that event_factory::createEvent has made. Returns true when it went to the IDS core now; false
    /// when it is held for later, or dropped because too many are held already, or empty.
    virtual bool reportEvent(const std::shared_ptr<SEvent>& event) = 0;
};

} // namespace ids
