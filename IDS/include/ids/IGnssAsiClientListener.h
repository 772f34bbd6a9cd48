#pragma once

#include "asi/navigation/gnss/Position.h"
#include "util/SharedPtr.h"

namespace ids {

/// Receives the positions of the navigation service, on the daemon's active object.
class IGnssAsiClientListener
{
public:
    virtual ~IGnssAsiClientListener() = default;

    /// The position may be null; isValid is the validity that the service sends with it.
    virtual void updatePosition(const util::SharedPtr<asi::navigation::gnss::Position>& position, bool isValid) = 0;
};

} // namespace ids
