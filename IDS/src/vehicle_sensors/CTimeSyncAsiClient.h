#pragma once

#include <cstdint>

#include "asi/time/TimeSync.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/ITimeSyncAsiClientListener.h"

namespace ids {

class CTimeSyncAsiClient;

/// Forwards the updates of the time synchronisation service to the client.
class TimeSyncReplyImpl : public asi::time::TimeSyncReply, public common_::ReplyForwarder<CTimeSyncAsiClient>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void updatepltOffset(std::int64_t offset, bool isValid) override;
    void updateutcOffset(std::int64_t offset, bool isValid) override;
};

/// Subscribes to the unit's time offsets and notifies the listeners of every update. On the active object only.
class CTimeSyncAsiClient final : public common_::AsiClientSkeleton<asi::time::TimeSyncProxy, TimeSyncReplyImpl>,
                                 public common_::SubjectBase<ITimeSyncAsiClientListener>
{
public:
    explicit CTimeSyncAsiClient(comm::FactoryPtr factory);

    void updatePltOffset(std::int64_t offset, bool isValid);
    void updateUtcOffset(std::int64_t offset, bool isValid);

private:
    void onAlive() override;
    void onDead() override;
};

} // namespace ids
