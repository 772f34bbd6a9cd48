#pragma once

namespace ids {

/// Learns that the IDS core has connected. Called on the daemon's active object, at every connection.
class IIdsCoreServiceListener
{
public:
    virtual ~IIdsCoreServiceListener() = default;
    virtual void onIdsCoreConnected() = 0;
};

} // namespace ids
