#pragma once

#include <chrono>
#include <thread>

namespace test_support {

/// Waits until the condition holds. Returns false on a timeout.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds{20})
{
    const auto end = std::chrono::steady_clock::now() + patience;
    for (; !condition(); std::this_thread::sleep_for(std::chrono::milliseconds{2})) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
    }
    return true;
}

} // namespace test_support
