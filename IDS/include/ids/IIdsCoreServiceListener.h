#pragma once

namespace ids {

/// Notified of every connection of an IDS core, on the daemon's active object.
class IIdsCoreServiceListener
{
public:
    virtual ~IIdsCoreServiceListener() = default;
    virtual void onIdsCoreConnected() = 0;
};

} // namespace ids
