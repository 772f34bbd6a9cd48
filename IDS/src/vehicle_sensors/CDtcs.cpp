#include "CDtcs.h"

#include <algorithm>
#include <cstdint>

#include "SensorChannels.h"

namespace ids {
namespace {

constexpr char kLabel[] = "ids::CDtcs";
constexpr std::uint32_t kGnssFailure = 0x20007;
constexpr std::uint32_t kFaultPresent = 1;

bool isGnssFailure(const util::SharedPtr<asi::connectivity::diagnostic::Dtc>& dtc)
{
    return dtc && dtc->code == kGnssFailure && dtc->errorCondition == kFaultPresent;
}

} // namespace

CDtcs::CDtcs(IIdsm& idsm) : m_idsm{idsm} {}

void CDtcs::updateDtcs(const util::SharedPtr<asi::connectivity::diagnostic::Dtcs>& dtcs, bool isValid)
{
    TRACE(s_hostSensorChannel, progress, kLabel, "DTCs are: %s, isValid: %s", dtcs ? "valid" : "<invalid>",
          isValid ? "true" : "false");
    if (!isValid || !dtcs) {
        return;
    }
    if (std::any_of(dtcs->begin(), dtcs->end(), isGnssFailure)) {
        TRACE(s_hostSensorChannel, progress, kLabel, "Report event.");
    }
}

} // namespace ids
