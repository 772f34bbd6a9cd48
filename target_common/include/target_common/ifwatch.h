#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>

#include "conn_common/EasyCallAO.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "io_manager/INlEvent.h"
#include "io_manager/Nl.h"
#include "io_manager/UniqueFd.h"
#include "target_common/IIfwatchListener.h"

namespace common_ {

/// Turns what route netlink tells into events of interfaces, addresses and neighbours. It asks once for the links and
/// the IPv6 addresses that are there; what happens later it learns as far as the socket's groups reach.
///
/// On the netlink object's active object only. What that object loses is not seen here either.
class ifwatch final : private EasyCallAO, public ListenerBase<INlEvent>, public SubjectBase<IIfwatchListener>
{
public:
    /// nl, which has to outlive this, is asked for the links after the caller has returned to its active object.
    ifwatch(const comm::FactoryPtr& factory, Nl& nl);

    void nl_cmd_result(std::uint32_t sequence, std::int32_t result, const nlmsghdr& message) override;
    void nl_urc(const nlmsghdr& message) override;

private:
    using Bytes = std::span<const std::uint8_t>;

    void request(const char* name, std::uint16_t type, std::uint8_t family);
    void requestAddresses();
    void linkMessage(bool isNew, Bytes body);
    bool track(bool isNew, std::int32_t index, const std::string& name);
    void addressMessage(bool isNew, Bytes body);
    void neighbourMessage(bool isNew, Bytes body);
    std::string nameOf(std::uint32_t index) const;

    Nl& m_nl;
    const io_manager::UniqueFd m_names; ///< by which the kernel is asked for the names of interfaces
    std::map<std::int32_t, std::string> m_interfaces;
};

} // namespace common_
