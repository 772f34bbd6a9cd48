#pragma once

#include "IOocReplyImpl.h"
#include "conn_common/AsiClientSkeleton.h"

namespace ids {

/// Base of the operation-control client for one of its two services: a client skeleton that subscribes to all
/// attributes when the service becomes alive.
template <typename Proxy>
class AsiSkeletonWrapperAttr : public common_::AsiClientSkeleton<Proxy, IOocReplyImpl>
{
protected:
    using common_::AsiClientSkeleton<Proxy, IOocReplyImpl>::AsiClientSkeleton;

private:
    void onAlive() override
    {
        TRACE(common_::s_asiChannel, progress, "ids::AsiSkeletonWrapperAttr", "ASI COocAsiClient is alive.");
        this->requestNotifications();
    }

    void onDead() override { this->proxy().cancelNotifications(); }
};

} // namespace ids
