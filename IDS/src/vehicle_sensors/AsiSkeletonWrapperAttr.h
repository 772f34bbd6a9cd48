#pragma once

#include "IOocReplyImpl.h"
#include "conn_common/AsiClientSkeleton.h"

namespace ids {

/// One of the two connections of the operation-control client, which derives from both: a whole skeleton for its proxy,
/// subscribed to all attributes of its service while that is alive.
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
