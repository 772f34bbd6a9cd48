#pragma once

#include "conn_common/PersistenceLocation.h"

namespace persistence {

class IPartitionStateTracker
{
public:
    virtual ~IPartitionStateTracker() = default;
    virtual void partitionOpened(const PersistenceLocation& location) = 0;
};

} // namespace persistence
