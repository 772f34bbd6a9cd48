#pragma once

#include "IDS_Event/CInterface.h"
#include "RstpInterfaceActiveObjectFileHandle.h"

/// The IDS_Event channel: its codec, on an active object, with its socket.
class CIDS_Event final : public RstpInterfaceActiveObjectFileHandle<IDS_Event::CInterface>
{
public:
    using RstpInterfaceActiveObjectFileHandle::RstpInterfaceActiveObjectFileHandle;
};
