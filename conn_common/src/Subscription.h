#pragma once

#include <cstdint>

#include "conn_common/PersistenceServices.h"

namespace persistence {

/// A request to be told the value of a key.
struct Subscription
{
    PersistenceLocation location;
    std::uint32_t keyId;
    PersistenceServices::ResultCallback* callback;
    bool subscribed; ///< the service knows of it
    bool single;     ///< ends with its first value
};

} // namespace persistence
