#pragma once

#include <cstdint>

namespace common_ {

/// Told by an FdMonitor what its descriptors are ready for, on the thread that runs the cycle.
class IFdMonitorListener
{
public:
    virtual ~IFdMonitorListener() = default;
    virtual void onFdReadReady(std::int32_t fd) = 0;
    virtual void onFdWriteReady(std::int32_t fd) = 0;

    /// The descriptor is not watched for errors any more.
    virtual void onFdError(std::int32_t fd) = 0;
};

} // namespace common_
