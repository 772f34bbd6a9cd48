#include "processValidity.h"

#include <string_view>

#include "SensorChannels.h"

namespace ids {
namespace {

constexpr auto kLabel = "ids::CProcMonitor";

} // namespace

bool isProcIdValid(const std::string& id)
{
    if (!id.empty() && id.find_first_not_of("0123456789") == std::string::npos) {
        return true;
    }
    TRACE(s_hostSensorChannel, error, kLabel, "Process ID invalid! (ID: \"%s\")", id.c_str());
    return false;
}

bool areValid(const std::string& id, const std::string& name)
{
    if (!isProcIdValid(id)) {
        return false;
    }
    if (name.empty()) {
        TRACE(s_hostSensorChannel, error, kLabel, "Process name invalid!");
        return false;
    }
    return true;
}

} // namespace ids
