#include "CGnssManager.h"

namespace ids {

const std::shared_ptr<CGnssManager>& CGnssManager::getInstance()
{
    static const std::shared_ptr<CGnssManager> s_instance{new CGnssManager};
    return s_instance;
}

void CGnssManager::updatePosition(const util::SharedPtr<asi::navigation::gnss::Position>& position, bool isValid)
{
    if (!isValid || !position) {
        return;
    }
    m_gnssTime.store(position->timestampUTC, std::memory_order_relaxed);
}

} // namespace ids
