#include "ids/SEvent.h"

#include <algorithm>

#include "BlockCodec.h"
#include "CGnssManager.h"
#include "EventChannel.h"
#include "EventLayout.h"
#include "KnownEvents.h"
#include "SFrameHeader.h"
#include "STimestamp.h"
#include "bootTime.h"

namespace ids {

static_assert(std::ranges::all_of(kKnownEvents, [](const SKnownEvent& event) {
    return event.contextDataSize >= kContextHeaderField.offset + kContextHeaderField.width;
}));

SEvent::SEvent(const SEventDescriptor& descriptor)
    : contextData(contextDataSize(descriptor.eventId)),
      eventFrame(kFrameHeaderSize),
      eventId{descriptor.eventId},
      timestamp(kTimestampSize),
      creationTime{millisecondsSinceBoot()}
{
    if (contextData.empty()) {
        TRACE(s_eventChannel, error, "SEvent", "Invalid event ID! (ID: %u)", unsigned{eventId});
        return;
    }
    stamp(timestamp, CGnssManager::getInstance()->getGnssTime());
    if (descriptor.hasContextData) {
        storeInteger<kLengthField.width>(contextData.data(), lengthWord(contextData.size()));
    }
    if (descriptor.hasContextDataHeader) {
        storeInteger<kContextHeaderField.width>(contextData.data() + kContextHeaderField.offset,
                                                kContextHeaderField.constant);
    }
    encode<kFrameHeader>(eventFrame.data(), SFrameHeader{.hasTimestamp = descriptor.hasTimestamp,
                                                         .hasContextData = descriptor.hasContextData,
                                                         .idsmInstanceId = descriptor.idsmInstanceId,
                                                         .eventId = descriptor.eventId});
}

} // namespace ids
