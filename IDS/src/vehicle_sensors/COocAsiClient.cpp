#include "COocAsiClient.h"

namespace ids {

COocAsiClient::COocAsiClient(const comm::FactoryPtr& factory) : Application{factory, *this}, Ids{factory, *this} {}

void COocAsiClient::start()
{
    Application::start();
    Ids::start();
}

void COocAsiClient::stop()
{
    Application::stop();
    Ids::stop();
}

void COocAsiClient::updateBatteryInfo(const util::SharedPtr<asi::ooc::app::BatteryInfo>& info, bool isValid)
{
    notify(&IOocAsiClientListener::updateBatteryInfo, info, isValid);
}

void COocAsiClient::updateCallActive(std::uint32_t status, bool isValid)
{
    notify(&IOocAsiClientListener::updateCallActive, status, isValid);
}

void COocAsiClient::updateClampStates(const util::SharedPtr<asi::ooc::app::ClampStates>& states, bool isValid)
{
    notify(&IOocAsiClientListener::updateClampStates, states, isValid);
}

void COocAsiClient::updateEthCommInterruptReason(std::uint32_t reason, bool isValid)
{
    notify(&IOocAsiClientListener::updateEthCommInterruptReason, reason, isValid);
}

void COocAsiClient::updateRunMode(std::uint32_t mode, bool isValid)
{
    notify(&IOocAsiClientListener::updateRunMode, mode, isValid);
}

} // namespace ids
