#include "CNadInformationAsiClient.h"

#include <utility>

namespace ids {

using namespace asi::connectivity::al;

CNadInformationAsiClient::CNadInformationAsiClient(comm::FactoryPtr factory)
    : AsiClientSkeleton{std::move(factory), *this}
{}

void CNadInformationAsiClient::updateNetworkRegistration(const util::SharedPtr<NetworkRegistration>& registration,
                                                         bool isValid)
{
    notify(&INadInformationAsiClientListener::updateNetworkRegistration, registration, isValid);
}

void CNadInformationAsiClient::updateSignalStrength(const util::SharedPtr<SignalStrength>& strength, bool isValid)
{
    notify(&INadInformationAsiClientListener::updateSignalStrength, strength, isValid);
}

void CNadInformationAsiClient::updateDataConnectionStartResult(const util::SharedPtr<DataConnectionStartResult>& result,
                                                               bool isValid)
{
    notify(&INadInformationAsiClientListener::updateDataConnectionStartResult, result, isValid);
}

void CNadInformationAsiClient::onAlive()
{
    TRACE(common_::s_asiChannel, progress, "ids::CNadInformationAsiClient", "ASI CNadInformationAsiClient is alive.");
    requestNotifications();
}

} // namespace ids
