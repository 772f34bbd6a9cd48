#include "CTeeAsiService.h"

#include <memory>
#include <utility>

#include "ProcFs.h"
#include "conn_common/AsiChannel.h"
#include "ipl/ErrorStorage.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CTeeAsiService";
constexpr std::uint32_t kInstance = 1;

} // namespace

CTeeAsiService::CTeeAsiService(comm::FactoryPtr factory) : m_factory{std::move(factory)} {}

CTeeAsiService::~CTeeAsiService()
{
    unregisterInstance();
}

bool CTeeAsiService::registerService()
{
    if (registerInstance(kInstance, m_factory)) {
        TRACE(common_::s_asiChannel, error, kLabel, "CTeeAsiService can't register service!");
        ipl::ErrorStorage::ack();
        return false;
    }
    TRACE(common_::s_asiChannel, milestone, kLabel, "CTeeAsiService registered service.");
    return true;
}

void CTeeAsiService::deregisterService()
{
    unregisterInstance();
    TRACE(common_::s_asiChannel, milestone, kLabel, "CTeeAsiService deregistered service.");
}

void CTeeAsiService::reportNoKeysAvailable()
{
    notify(&ITeeAsiServiceListener::onNoVkmsKeyAvailable);
}

void CTeeAsiService::reportTeeAccess(const util::SharedPtr<std::string>& appName)
{
    notify(&ITeeAsiServiceListener::onTeeAccessed, appName);
}

void CTeeAsiService::reportTeeAccessOfProcess(std::uint32_t processId)
{
    reportTeeAccess(std::make_shared<std::string>(proc_fs::getProcessName(processId)));
}

} // namespace ids
