#pragma once

#include <cstdint>
#include <linux/netlink.h>
#include <map>
#include <string>
#include <vector>

#include "CConntrackObject.h"
#include "NlSocket.h"
#include "comm/ActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IConntrackListener.h"

namespace ids {

/// Turns batches of connection-tracking messages into records for its listeners, of each batch the last, and only of
/// IPv4. Everything runs on the owner's active object.
///
/// Switched off: the socket is open, but joins no group and is not read, so no batch arrives by itself.
class CConntrack : public common_::SubjectBase<IConntrackListener>
{
public:
    explicit CConntrack(const comm::FactoryPtr& factory);
    ~CConntrack() override;

    /// Takes a batch. Each pointer is good for as many bytes as the header says; what these hold may be anything, and a
    /// pointer may be null. Returns 0, or -1 without any record when there was no memory or a message that cannot be
    /// read. Which kind of netlink message it is is not looked at: the end of a dump is none for here.
    int ct_event_cb(const std::vector<nlmsghdr*>& batch);

    /// Hands a record to the listeners in the order of their registration, then logs it.
    void updateFromCtrk(const SConntrackInfo& info);

private:
    bool readMessage(const nlmsghdr* message, CConntrackObject& object, SConntrackInfo& info);

    IDS::NlSocket m_socket;
    std::map<std::uint8_t, std::string> m_protocolNames; ///< grows by an empty name for each protocol without one
    common_::DelayedCallbackBase<const std::vector<nlmsghdr*>> m_batches; ///< switched off: nothing schedules it
};

} // namespace ids
