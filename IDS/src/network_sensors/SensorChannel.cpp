#include "SensorChannel.h"

namespace ids {

tracing::Channel s_sensorChannel{"CON_IDS_SENSOR_ETH", 7, 2};

} // namespace ids
