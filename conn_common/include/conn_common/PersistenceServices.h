#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "comm/ActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "conn_common/PersistenceLocation.h"
#include "util/CITypesFactory.h"
#include "util/SharedPtr.h"

namespace persistence {

class PersistenceServicesImpl;

/// Told of the persistence service, on the active object.
class PersistenceListener
{
public:
    virtual ~PersistenceListener() = default;

    /// The service is there and requests are being served, at every time it has come.
    virtual void persistenceLoaded() = 0;
};

/// Reads and writes settings in the unit's persistence service. Partitions are opened when they are first asked for,
/// and made when they do not exist.
///
/// Requests come from any thread, are worked off on the active object and wait for the service when it is away. Writes
/// leave in bunches, one bunch at a time. A read that has been sent is sent again when the service dies before it
/// answers; a write that has been sent is lost then. Nothing limits how many requests wait.
///
/// Started and destroyed on the active object.
class PersistenceServices
{
public:
    /// What became of a request for a value.
    struct subscription_result
    {
        enum Status : std::uint32_t
        {
            failed = 0,
            missing = 1, ///< there is no such value
            present = 2
        };

        PersistenceLocation location{};
        std::uint32_t keyId = 0;
        std::int32_t intValue = 0;
        util::SharedPtr<std::string> stringValue{};
        UInt8Array blobValue{};
        Status status = failed;
    };

    using ResultCallback = common_::DelayedCallbackBase<subscription_result>;

    PersistenceServices(comm::FactoryPtr factory, PersistenceListener& listener);
    ~PersistenceServices();
    PersistenceServices(const PersistenceServices&) = delete;
    PersistenceServices& operator=(const PersistenceServices&) = delete;

    /// Looks for the service; changes nothing while it is there.
    void startService();

    /// Asks for the value of a key. The callback is scheduled once, when the service has answered; it must live until
    /// then or go together with this object.
    void requestValue(const PersistenceLocation& location, std::uint32_t keyId, ResultCallback& callback);

    /// Stores an integer. flush: it is to be on the medium soon.
    void writeInt(const PersistenceLocation& location, std::uint32_t keyId, std::int32_t value, bool flush);

private:
    const std::unique_ptr<PersistenceServicesImpl> m_Pimpl;
};

} // namespace persistence
