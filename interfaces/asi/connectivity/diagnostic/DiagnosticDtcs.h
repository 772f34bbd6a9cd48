#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>
#include <vector>

#include "comm/Proxy.h"
#include "comm/Service.h"
#include "util/SharedPtr.h"

/// The unit's diagnostic service: its current trouble codes.
namespace asi::connectivity::diagnostic {

struct Dtc
{
    std::uint32_t code = 0;
    std::uint32_t errorCondition = 0; ///< DtcErrorCondition of the service, 1: the fault is present

    static constexpr auto fields()
    {
        return std::tuple{comm::field("code", &Dtc::code), comm::field("errorCondition", &Dtc::errorCondition)};
    }
};

/// Entries may be null.
using Dtcs = std::vector<util::SharedPtr<Dtc>>;

/// Clients subscribe to the attribute; there are no requests.
class DiagnosticDtcs
{
public:
    virtual ~DiagnosticDtcs() = default;
};

class DiagnosticDtcsReply
{
public:
    virtual ~DiagnosticDtcsReply() = default;

    /// An absent array differs from an empty one, which means that there are no trouble codes.
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
