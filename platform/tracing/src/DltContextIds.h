#pragma once

#include <map>
#include <string>
#include <vector>

namespace tracing {

/// The DLT context id of each channel name: four letters, no two alike, the same in every build. The channels of the
/// daemon have ids that can be remembered; any other gets one that follows from its name.
std::map<std::string, std::string> dltContextIds(const std::vector<std::string>& channels);

} // namespace tracing
