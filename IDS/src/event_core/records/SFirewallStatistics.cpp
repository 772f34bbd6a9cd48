#include "ids/SFirewallStatistics.h"

#include "CGnssManager.h"

namespace ids {

SFirewallStatistics::SFirewallStatistics() : time{CGnssManager::getInstance()->getGnssTime()} {}

} // namespace ids
