#pragma once

#include "ids/SConntrackInfo.h"

namespace ids {

/// Receives the notifications of connection tracking, on the daemon's active object.
class IConntrackListener
{
public:
    virtual ~IConntrackListener() = default;
    virtual void updateFromCtrk(const SConntrackInfo& info) = 0;
};

} // namespace ids
