#pragma once

#include <cstdint>
#include <vector>

namespace io_manager {

/// What a wait pass asks of the set of descriptors it waits on, and tells it. Called on the thread that runs the pass.
class IWatchListener
{
public:
    virtual ~IWatchListener() = default;

    /// Replaces the content of the vector with the descriptors to watch, in the order in which they are to be served.
    virtual void collectDescriptors(std::vector<std::int32_t>& descriptors) = 0;
    virtual void onReadable(std::int32_t descriptor) = 0;
    virtual void onTimeout() = 0;
};

} // namespace io_manager
