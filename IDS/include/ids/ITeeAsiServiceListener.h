#pragma once

#include <string>

#include "util/SharedPtr.h"

namespace ids {

/// Learns what the trusted execution environment and its key management report, on the daemon's active object.
class ITeeAsiServiceListener
{
public:
    virtual ~ITeeAsiServiceListener() = default;

    virtual void onNoVkmsKeyAvailable() = 0;

    /// The name may be null when the caller gave none, and empty when its process could not be looked up.
    virtual void onTeeAccessed(const util::SharedPtr<std::string>& appName) = 0;
};

} // namespace ids
