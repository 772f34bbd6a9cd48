#include "SensorChannels.h"

namespace ids {

tracing::Channel s_hostSensorChannel{"CON_IDS_SENSOR_HOST", 7, 2};
tracing::Channel s_sensorChannel{"CON_IDS_SENSOR_ETH", 7, 2};

} // namespace ids
