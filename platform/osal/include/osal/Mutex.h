#pragma once

#include <mutex>

namespace osal {

/// Non-recursive mutex; lock it with std::lock_guard.
using Mutex = std::mutex;

} // namespace osal
