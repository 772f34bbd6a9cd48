#pragma once

#include <memory>
#include <new>

#include "EventChannel.h"
#include "EventRecords.h"

/// Turns what the sensors observe into security events. May be called on any thread.
namespace ids::event_factory {

template <typename RecordT>
using InputOf = typename RecordT::Input;

/// Makes an event of the type that the caller names, such as createEvent<SEvent_KeepAlive>(counter). Texts and bytes
/// too long for their field are cut. The pointer is empty when there is no memory for the event.
template <typename RecordT>
std::shared_ptr<SEvent> createEvent(const InputOf<RecordT>& input)
{
    try {
        return std::make_shared<RecordT>(input);
    } catch (const std::bad_alloc&) {
        TRACE(s_eventChannel, error, "ids::event_factory", "Can't create event structure!");
        return nullptr;
    }
}

} // namespace ids::event_factory
