#pragma once

#include <memory>

namespace util {

template <typename T>
using SharedPtr = std::shared_ptr<T>;

} // namespace util
