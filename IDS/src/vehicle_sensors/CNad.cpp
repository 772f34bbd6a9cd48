#include "CNad.h"

#include <memory>

#include "ProcFs.h"
#include "SensorChannels.h"
#include "event_factory.h"
#include "ids/SExtConnFailure.h"
#include "ids/SProcess.h"
#include "tracing/client_helper.h"

namespace ids {
namespace {

using asi::connectivity::al::DataConnectionStartResult;

constexpr char kLabel[] = "ids::CNad";
constexpr char kModemProcess[] = "nad";
constexpr std::uint32_t kStarted = 0;
constexpr std::uint8_t kCellular = 4; // the connection type of the modem's data connections

} // namespace

CNad::CNad(IIdsm& idsm) : m_idsm{idsm}, m_testCommands{kLabel}
{
    tracing::client_helper::addCommand(m_testCommands, "onApnChanged", *this, &CNad::onApnChanged);
    tracing::client_helper::addCommand(m_testCommands, "onApnStartFailed", *this, &CNad::onApnStartFailed);
}

void CNad::updateDataConnectionStartResult(const util::SharedPtr<DataConnectionStartResult>& result, bool isValid)
{
    if (!isValid || !result) {
        return;
    }
    TRACE(s_hostSensorChannel, progress, kLabel, "APN configuration has changed.");
    const SProcess modem{.id = proc_fs::findProcess(kModemProcess), .name = kModemProcess, .state = EProcState::START};
    m_idsm.reportEvent(event_factory::createEvent<SEvent_ApnConfigChange>(modem));
    if (result->startResult != kStarted) {
        const SExtConnFailure failure{.connectionType = kCellular};
        m_idsm.reportEvent(event_factory::createEvent<SEvent_ExtConnUnsuccessful>(failure));
    }
}

void CNad::onMessage(asi::connectivity::al::SmsType, std::uint32_t, const util::SharedPtr<std::string>& pdu)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "PDU: %s", pdu ? pdu->c_str() : "<Invalid>");
}

void CNad::onApnChanged()
{
    TRACE(s_hostSensorChannel, milestone, kLabel, "called");
    inject(kStarted);
}

void CNad::onApnStartFailed()
{
    TRACE(s_hostSensorChannel, milestone, kLabel, "called");
    inject(2);
}

void CNad::inject(std::uint32_t startResult)
{
    updateDataConnectionStartResult(
        std::make_shared<DataConnectionStartResult>(DataConnectionStartResult{.startResult = startResult}), true);
}

} // namespace ids
