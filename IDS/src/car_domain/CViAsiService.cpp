#include "CViAsiService.h"

#include <utility>

#include "conn_common/AsiChannel.h"
#include "ipl/ErrorStorage.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CViAsiService";
constexpr std::uint32_t kInstance = 1;

} // namespace

CViAsiService::CViAsiService(comm::FactoryPtr factory) : m_factory{std::move(factory)} {}

CViAsiService::~CViAsiService()
{
    unregisterInstance();
}

bool CViAsiService::registerService()
{
    if (registerInstance(kInstance, m_factory)) {
        TRACE(common_::s_asiChannel, error, kLabel, "CViAsiService can't register service!");
        ipl::ErrorStorage::ack();
        return false;
    }
    TRACE(common_::s_asiChannel, milestone, kLabel, "CViAsiService registered service.");
    return true;
}

void CViAsiService::deregisterService()
{
    unregisterInstance();
    TRACE(common_::s_asiChannel, milestone, kLabel, "CViAsiService deregistered service.");
}

void CViAsiService::sendEvent(const UInt8Array& event, std::uint32_t)
{
    TRACE(common_::s_asiChannel, milestone, kLabel, "CViAsiService::sendEvent listener call");
    notify(&IViAsiServiceListener::onViEvent, event);
}

} // namespace ids
