#include "PendingWrite.h"

#include <string>

#include "PersistenceCall.h"

namespace persistence {

bool PendingWrite<int>::doWrite(const IPersistenceAProxy& proxy, std::uint32_t handle) const
{
    TRACE(s_implChannel, detail, "PersistenceServicesImpl", "Writing INTEGER %s=%d", std::to_string(getKeyId()).c_str(),
          m_Value);
    return callLogged<&IPersistenceA::setInt>(
        proxy, {"conn_common/src/PendingWrite", __LINE__, "proxy->setInt(handle, getKeyId(), m_Value)"}, handle,
        getKeyId(), m_Value);
}

} // namespace persistence
