#pragma once

#include "asi/navigation/gnss/Gnss.h"
#include "conn_common/AsiClientSkeleton.h"
#include "conn_common/ReplyForwarder.h"
#include "conn_common/UniversalListenerAndSubject.h"
#include "ids/IGnssAsiClientListener.h"

namespace ids {

class CGnssAsiClient;

/// Forwards the updates of the navigation service to the client.
class GnssReplyImpl : public asi::navigation::gnss::GnssReply, public common_::ReplyForwarder<CGnssAsiClient>
{
public:
    using ReplyForwarder::ReplyForwarder;

    void updatePosition(const util::SharedPtr<asi::navigation::gnss::Position>& position, bool isValid) override;
};

/// Subscribes to the unit's position and notifies the listeners of every update. On the active object only.
class CGnssAsiClient final : public common_::AsiClientSkeleton<asi::navigation::gnss::GnssProxy, GnssReplyImpl>,
                             public common_::SubjectBase<IGnssAsiClientListener>
{
public:
    explicit CGnssAsiClient(comm::FactoryPtr factory);

    void updatePosition(const util::SharedPtr<asi::navigation::gnss::Position>& position, bool isValid);

private:
    void onAlive() override;
    void onDead() override;
};

} // namespace ids
