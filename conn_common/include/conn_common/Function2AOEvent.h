#pragma once

#include <utility>

#include "comm/ActiveObject.h"
#include "conn_common/allocate.h"
#include "util/SharedPtr.h"

namespace common_ {

/// Calls a functor once on the active object that it is queued on.
template <typename F>
class Function2AOEvent final : public comm::ActiveObjectEvent
{
public:
    explicit Function2AOEvent(F&& function) : m_function{std::move(function)} {}

    int execute() override
    {
        m_function();
        return 0;
    }

private:
    F m_function;
};

/// Posts a callable once to the factory's active object, from any thread. Nothing keeps what the callable refers to
/// alive; see SafeCallbackProxy. An active object that is not valid or has ended releases the callable without a call.
template <typename F>
void enqueFunction2AOF(const comm::FactoryPtr& factory, F function)
{
    auto event = allocateShared<Function2AOEvent<F>>(
        {"conn_common/include/conn_common/Function2AOEvent", 43, "enqueFunction2AOF"}, "Could not allocate memory",
        std::move(function));
    factory->getActiveObject(ipl::UUID{}).enque(std::move(event));
}

} // namespace common_
