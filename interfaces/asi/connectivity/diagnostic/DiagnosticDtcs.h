#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>
#include <vector>

#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/SharedPtr.h"

/// The unit's diagnostic service: its present trouble codes.
namespace asi::connectivity::diagnostic {

struct Dtc
{
    std::uint32_t code = 0;
    std::uint32_t errorCondition = 0; ///< DtcErrorCondition of the service, 1: the fault is there

    static constexpr auto fields()
    {
        return std::tuple{comm::field("code", &Dtc::code), comm::field("errorCondition", &Dtc::errorCondition)};
    }
};

/// Entries may be null.
using Dtcs = std::vector<util::SharedPtr<Dtc>>;

/// Clients only subscribe to the attribute.
class DiagnosticDtcs
{
public:
    virtual ~DiagnosticDtcs() = default;
};

class DiagnosticDtcsReply
{
public:
    virtual ~DiagnosticDtcsReply() = default;

    /// No codes at all are told from none at present.
    virtual void updateDtcs(const comm::Nullable<Dtcs>& dtcs, bool isValid) = 0;
};

struct DiagnosticDtcsDescription
{
    static constexpr std::string_view name = "asi.connectivity.diagnostic.DiagnosticDtcs";
    using Requests = DiagnosticDtcs;
    using Reply = DiagnosticDtcsReply;
    static constexpr auto requests = std::tuple{};
    static constexpr auto replies = std::tuple{};
    static constexpr auto attributes =
        std::tuple{comm::attribute<&DiagnosticDtcsReply::updateDtcs>(1, "Dtcs", "updateDtcs")};
};

using DiagnosticDtcsSAttr = comm::Service<DiagnosticDtcsDescription>;
using DiagnosticDtcsProxy = comm::ServiceProxy<DiagnosticDtcsDescription>;

} // namespace asi::connectivity::diagnostic
