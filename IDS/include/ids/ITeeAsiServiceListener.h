#pragma once

#include <string>

#include "util/SharedPtr.h"

namespace ids {

/// Receives the reports of the trusted execution environment and its key management, on the daemon's active object.
class ITeeAsiServiceListener
{
public:
    virtual ~ITeeAsiServiceListener() = default;

    virtual void onNoVkmsKeyAvailable() = 0;

    /// The name is null when the caller sent none, and empty when its process was not found.
    virtual void onTeeAccessed(const util::SharedPtr<std::string>& appName) = 0;
};

} // namespace ids
