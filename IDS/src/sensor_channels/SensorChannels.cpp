#include "HostSensorChannel.h"

namespace ids {

tracing::Channel s_hostSensorChannel{"CON_IDS_SENSOR_HOST", 7, 2};

} // namespace ids
