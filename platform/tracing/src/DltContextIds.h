#pragma once

#include <map>
#include <string>
#include <vector>

namespace tracing {

/// The DLT context id of each channel name: four letters, unique, the same in every build. The daemon's channels have
/// fixed ids; the id of any other is derived from its name.
std::map<std::string, std::string> dltContextIds(const std::vector<std::string>& channels);

} // namespace tracing
