#include "CRecordStore.h"

#include <iterator>
#include <mutex>
#include <utility>

namespace ids {
namespace {

constexpr std::size_t kMost = 1024;

}

std::unique_ptr<SFirewallStatistics> CRecordStore::take()
{
    if (m_atHand.empty()) {
        const std::lock_guard lock{m_mutex};
        m_atHand.swap(m_returned);
    }
    if (m_atHand.empty()) {
        return std::make_unique<SFirewallStatistics>();
    }
    auto record = std::move(m_atHand.back());
    m_atHand.pop_back();
    return record;
}

void CRecordStore::giveBack(DroppedPackets records)
{
    const std::lock_guard lock{m_mutex};
    if (m_returned.size() + records.size() <= kMost) {
        m_returned.insert(m_returned.end(), std::move_iterator{records.begin()}, std::move_iterator{records.end()});
    }
}

} // namespace ids
