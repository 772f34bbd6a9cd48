#pragma once

#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

#include "UnixSocket/ISocketFileHandle.h"
#include "comm/ActiveObject.h"
#include "conn_common/DelayedCallback.h"
#include "io_manager/InFlightLimit.h"
#include "ipl/GlobalErrorHandler.h"
#include "quor_logger.h"

/// Brings an RSTP interface onto an active object: frames are posted by the reading thread and evaluated there.
///
/// At most 64 frames are on the way, and none goes on the way while the bus cannot keep up. An active object or a bus
/// that lags thus holds the reading thread back, and in the end the peer, whose socket is full; nothing is lost.
/// Destroyed on the active object, after the reading thread has ended.
template <typename Interface>
class RstpInterfaceActiveObject : public Interface
{
public:
    RstpInterfaceActiveObject(UnixSocket::ISocketFileHandle& socket, typename Interface::Incoming& incoming,
                              const comm::FactoryPtr& activeObjectFactory, const quor_logger& logger)
        : Interface{[&socket](const std::vector<std::uint8_t>& frame) { socket.write(frame.data(), frame.size()); },
                    logger, incoming},
          m_activeObject{checked(activeObjectFactory)->getActiveObject({})},
          m_frames{this, &RstpInterfaceActiveObject::evaluate, activeObjectFactory}
    {}

    /// Ends the holding back of the reading thread, for good. From any thread.
    void letGo() { m_inFlight.close(); }

protected:
    using Frame = std::vector<std::uint8_t>;

    /// Waits until a frame may be read. onWait is called when that is not at once. Returns false after letGo.
    template <typename OnWait>
    bool awaitRoom(OnWait onWait)
    {
        while (m_activeObject.busCongested()) {
            onWait();
            if (!m_inFlight.rest(kRest)) {
                return false;
            }
        }
        if (m_inFlight.tryEnter()) {
            return true;
        }
        onWait();
        return m_inFlight.enter();
    }

    /// There was no frame after all.
    void giveRoomBack() { m_inFlight.leave(); }

    /// Posts a frame for which room was awaited.
    void post(Frame frame) { m_frames.schedule(std::move(frame)); }

private:
    static const comm::FactoryPtr& checked(const comm::FactoryPtr& activeObjectFactory)
    {
        if (!activeObjectFactory || !activeObjectFactory->valid()) {
            ipl::GlobalErrorHandler::doFatalAssert("activeObjectFactory.valid()",
                                                   "rstp_Interface/include/RstpInterfaceActiveObject", 29,
                                                   "RstpInterfaceActiveObject", "Active Object Factory invalid!");
        }
        return activeObjectFactory;
    }

    void evaluate(const Frame& frame)
    {
        m_inFlight.leave();
        this->evaluateMsg(frame);
    }

    static constexpr std::chrono::milliseconds kRest{5};

    const comm::ActiveObject m_activeObject;
    io_manager::InFlightLimit m_inFlight{64};
    common_::DelayedCallback<RstpInterfaceActiveObject, Frame> m_frames;
};
