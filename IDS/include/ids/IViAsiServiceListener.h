#pragma once

#include "util/CITypesFactory.h"

namespace ids {

/// Receives the events that the V2X domain has framed, on the daemon's active object.
class IViAsiServiceListener
{
public:
    virtual ~IViAsiServiceListener() = default;

    /// The event may be null. Returns whether it was accepted.
    virtual bool onViEvent(const UInt8Array& event) = 0;
};

} // namespace ids
